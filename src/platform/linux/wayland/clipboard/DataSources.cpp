#include "platform/linux/wayland/clipboard/DataSources.h"

#include "platform/linux/desktop/clipboard/ClipboardForms.h"

#include <algorithm>
#include <unistd.h>

namespace fenlo {

const std::vector<std::string>& dataTextNames() {
    static const std::vector<std::string> names{"text/plain;charset=utf-8", "UTF8_STRING", "text/plain", "TEXT",
                                                "STRING"};
    return names;
}

DataSources::Source::Source(DataSources& of, Name selection, DataContents holds, Stay staying)
    : owner(of), name(selection), contents(std::move(holds)), stay(staying),
      handle(zwlr_data_control_manager_v1_create_data_source(of.m_connection.manager())) {
    using Handle = zwlr_data_control_source_v1;
    static constexpr zwlr_data_control_source_v1_listener listener{
        [](void* self, Handle*, const char* form, int pipe) {
            const Source& source = *static_cast<Source*>(self);
            source.owner.send(source, form, pipe);
        },
        [](void* self, Handle*) {
            const Source& source = *static_cast<Source*>(self);
            source.owner.drop(source);
        },
    };
    zwlr_data_control_source_v1_add_listener(handle, &listener, this);
}

void DataSources::offer(Name name, DataContents contents, Stay stay) {
    if (name == Name::primary && !m_connection.hasPrimary())
        return;
    const Source& source = m_sources.emplace_back(*this, name, std::move(contents), stay);
    offerForms(source);
    set(name, source.handle);
}

void DataSources::offerForms(const Source& source) const {
    const auto offer = [&](const std::string& form) { zwlr_data_control_source_v1_offer(source.handle, form.c_str()); };
    if (source.contents.text)
        for (const std::string& each : dataTextNames())
            offer(each);
    if (source.stay == Stay::onLoan)
        offer(clipboard::secretName);
    for (const auto& each : source.contents.forms)
        offer(each.name);
}

void DataSources::clear(Name name) {
    if (name == Name::clipboard || m_connection.hasPrimary())
        set(name, nullptr);
}

void DataSources::set(Name name, zwlr_data_control_source_v1* source) {
    if (name == Name::clipboard)
        zwlr_data_control_device_v1_set_selection(m_connection.device(), source);
    else
        zwlr_data_control_device_v1_set_primary_selection(m_connection.device(), source);
    m_connection.flush();
}

const DataSources::Source* DataSources::current(Name name) const {
    const auto newest =
        std::find_if(m_sources.rbegin(), m_sources.rend(), [&](const Source& each) { return each.name == name; });
    return newest != m_sources.rend() ? &*newest : nullptr;
}

void DataSources::send(const Source& source, const std::string& form, int pipe) const {
    const auto& [text, forms] = source.contents;
    const auto found = std::find_if(forms.begin(), forms.end(), [&](const auto& each) { return each.name == form; });
    std::shared_ptr<const std::string> bytes;
    if (found != forms.end())
        bytes = found->bytes;
    else if (source.stay == Stay::onLoan && form == clipboard::secretName)
        bytes = std::make_shared<const std::string>(clipboard::secretValue);
    else if (clipboard::contains(dataTextNames(), form))
        bytes = text;
    if (bytes)
        m_write(pipe, bytes);
    else
        ::close(pipe); // the compositor has not checked what was asked for
}

void DataSources::drop(const Source& source) {
    m_sources.remove_if([&](const Source& each) { return &each == &source; });
}

} // namespace fenlo
