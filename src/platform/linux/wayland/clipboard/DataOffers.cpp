#include "platform/linux/wayland/clipboard/DataOffers.h"

namespace fenlo {

namespace {
constexpr std::size_t mostForms = 256; // nobody has more in earnest
}

DataOffer::DataOffer(zwlr_data_control_offer_v1* handle) : m_handle(handle) {
    static constexpr zwlr_data_control_offer_v1_listener listener{
        [](void* self, zwlr_data_control_offer_v1*, const char* form) {
            auto& forms = static_cast<DataOffer*>(self)->m_forms;
            if (forms.size() < mostForms)
                forms.emplace_back(form);
        }};
    zwlr_data_control_offer_v1_add_listener(m_handle, &listener, this);
}

void DataOffer::receive(const std::string& form, int pipe) const {
    zwlr_data_control_offer_v1_receive(m_handle, form.c_str(), pipe);
}

DataOffers::DataOffers(DataControlConnection& connection) {
    using Device = zwlr_data_control_device_v1;
    using Offer = zwlr_data_control_offer_v1;
    static constexpr zwlr_data_control_device_v1_listener listener{
        [](void* self, Device*, Offer* offer) {
            static_cast<DataOffers*>(self)->m_announced[offer] = std::make_unique<DataOffer>(offer);
        },
        [](void* self, Device*, Offer* offer) { static_cast<DataOffers*>(self)->change(Name::clipboard, offer); },
        [](void*, Device*) {}, // the seat is gone: nothing comes any more
        [](void* self, Device*, Offer* offer) { static_cast<DataOffers*>(self)->change(Name::primary, offer); },
    };
    zwlr_data_control_device_v1_add_listener(connection.device(), &listener, this);
}

void DataOffers::change(Name name, zwlr_data_control_offer_v1* handle) {
    auto announced = m_announced.extract(handle);
    m_current[index(name)] = announced ? std::move(announced.mapped()) : nullptr;
    ++m_changes[index(name)];
}

} // namespace fenlo
