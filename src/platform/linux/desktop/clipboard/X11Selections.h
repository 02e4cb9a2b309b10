#pragma once

#include "platform/linux/desktop/clipboard/ClipboardEvents.h"
#include "platform/linux/desktop/clipboard/SelectionReader.h"
#include "platform/linux/desktop/clipboard/SelectionSaver.h"
#include "platform/linux/desktop/clipboard/Selections.h"

namespace fenlo {

/// The selections of an X11 desktop. Large contents go in pieces, both ways.
class X11Selections final : public Selections {
public:
    /// Connects to the server that DISPLAY names. Nothing when there is none.
    static std::unique_ptr<X11Selections> open();

    int descriptor() const override { return m_x->descriptor(); }
    bool isLost() const override { return m_x->isLost(); }
    void handleArrived() override { m_events.handleArrived(); }
    void flush() override { xcb_flush(m_x->get()); }
    Moment now() override { return m_events.serverTime(); }
    void offer(Name name, const std::string& text, Stay stay, Moment moment) override;
    bool offerAgain(Name name, const Saved& saved, Moment moment) override;
    void clear(Name name, Moment moment) override { m_server.clear(atom(name), moment); }
    bool owns(Name name) const override { return m_server.owns(atom(name)); }
    bool lends(Name name) const override { return m_server.lends(atom(name)); }
    Pasteboard::Reading read(Clock::time_point deadline) override;
    std::shared_ptr<const Saved> save(Name name, Clock::time_point deadline) override;
    bool dropStalled(Clock::time_point now) override { return m_server.dropStalled(now); }
    void handOver(Clock::time_point deadline) override;

private:
    explicit X11Selections(std::unique_ptr<XcbConnection> x);

    xcb_atom_t atom(Name name) const { return name == Name::clipboard ? m_clipboard : xcb_atom_t{XCB_ATOM_PRIMARY}; }

    const std::unique_ptr<XcbConnection> m_x;
    const xcb_window_t m_window;
    const xcb_atom_t m_clipboard;
    SelectionServer m_server;
    SelectionConversions m_conversions;
    ClipboardEvents m_events;
    SelectionReader m_reader;
    SelectionSaver m_saver;
};

} // namespace fenlo
