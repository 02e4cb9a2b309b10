#pragma once

#include "platform/linux/desktop/clipboard/ClipboardEvents.h"
#include "platform/linux/desktop/clipboard/SelectionContents.h"

#include <memory>
#include <span>
#include <vector>

namespace fenlo {

class SavedSelection final : public Selections::Saved {
public:
    /// For a selection without an owner.
    SavedSelection() = default;
    explicit SavedSelection(SelectionContents ours) : m_known(std::move(ours)) {}

    bool wasEmpty() const override { return m_known && m_known->isEmpty(); }
    bool isSettled() const override;
    /// All that has arrived, 64 MiB at most.
    SelectionContents contents() const;

private:
    friend class SelectionSaver;
    using Conversion = std::shared_ptr<const SelectionConversion>;

    std::optional<SelectionContents> m_known = SelectionContents{};
    std::vector<Conversion> m_texts; // the best first
    std::vector<Conversion> m_others;
};

/// Asks the owner of a selection for everything that it offers.
///
/// Threads: one.
class SelectionSaver {
public:
    using Clock = ClipboardEvents::Clock;

    SelectionSaver(XcbConnection& x, SelectionConversions& conversions, ClipboardEvents& events)
        : m_x(x), m_conversions(conversions), m_events(events) {}

    /// As Selections::save().
    std::shared_ptr<const SavedSelection> save(xcb_atom_t selection, Clock::time_point deadline);

private:
    using Atoms = std::vector<xcb_atom_t>;

    struct Request {
        xcb_atom_t selection;
        xcb_timestamp_t time;
        Clock::time_point deadline;
    };

    /// Nothing when the owner does not tell in time.
    std::optional<Atoms> offeredTargets(const Request& request);
    /// The forms to ask for besides the text, the usual ones first.
    Atoms worthKeeping(const std::optional<Atoms>& offered);
    /// Asks, and waits for the answer while there is time.
    SavedSelection::Conversion ask(const Request& request, xcb_atom_t target);
    Atoms atoms(std::span<const char* const> names);

    XcbConnection& m_x;
    SelectionConversions& m_conversions;
    ClipboardEvents& m_events;
};

} // namespace fenlo
