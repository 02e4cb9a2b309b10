#pragma once

#include "platform/linux/desktop/clipboard/Selections.h"
#include "platform/linux/wayland/clipboard/DataControlConnection.h"

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace fenlo {

/// What the owner of a selection offers, as names of forms. It can be asked until another offer takes its place.
class DataOffer {
public:
    explicit DataOffer(zwlr_data_control_offer_v1* handle);
    ~DataOffer() { zwlr_data_control_offer_v1_destroy(m_handle); }
    DataOffer(const DataOffer&) = delete;
    DataOffer& operator=(const DataOffer&) = delete;

    const std::vector<std::string>& forms() const { return m_forms; }
    /// The owner writes the form into the pipe, which stays the caller's.
    void receive(const std::string& form, int pipe) const;

private:
    zwlr_data_control_offer_v1* const m_handle;
    std::vector<std::string> m_forms;
};

/// Follows what the selections hold, our own offers included.
///
/// Threads: one.
class DataOffers {
public:
    using Name = Selections::Name;

    explicit DataOffers(DataControlConnection& connection);

    /// Null when the selection is empty.
    const DataOffer* current(Name name) const { return m_current[index(name)].get(); }
    /// How often the selection has changed.
    std::uint16_t changes(Name name) const { return m_changes[index(name)]; }

private:
    static std::size_t index(Name name) { return name == Name::clipboard ? 0 : 1; }
    void change(Name name, zwlr_data_control_offer_v1* handle);

    std::map<zwlr_data_control_offer_v1*, std::unique_ptr<DataOffer>> m_announced; // not yet of a selection
    std::array<std::unique_ptr<DataOffer>, 2> m_current;
    std::array<std::uint16_t, 2> m_changes{};
};

} // namespace fenlo
