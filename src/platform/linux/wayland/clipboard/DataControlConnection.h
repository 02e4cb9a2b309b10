#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <wayland-client.h>

#include "wlr-data-control-unstable-v1-client-protocol.h"

namespace fenlo {

/// A connection to the compositor for the clipboard alone, with the seat's device for its selections. The two protocols
/// for that have the same requests and events under different names, so the names of wlroots stand for both.
///
/// Threads: one.
class DataControlConnection {
public:
    using Clock = std::chrono::steady_clock;

    /// Nothing when there is no compositor, no seat, or neither protocol.
    static std::unique_ptr<DataControlConnection> open();
    ~DataControlConnection();

    zwlr_data_control_manager_v1* manager() const { return m_manager; }
    zwlr_data_control_device_v1* device() const { return m_device; }
    bool hasPrimary() const { return m_hasPrimary; }

    int descriptor() const { return wl_display_get_fd(m_display); }
    bool isLost() const { return wl_display_get_error(m_display) != 0; }
    /// Handles what has come and sends what was asked for.
    void handleArrived();
    void flush();
    /// Asks the compositor for an answer; `isAnswered` becomes true with it.
    void sync(std::shared_ptr<bool> isAnswered);

private:
    explicit DataControlConnection(wl_display* display) : m_display(display) {}
    bool learnGlobals();
    void take(std::uint32_t name, const std::string& interface, std::uint32_t version);

    wl_display* const m_display;
    wl_registry* m_registry = nullptr;
    wl_seat* m_seat = nullptr;
    zwlr_data_control_manager_v1* m_manager = nullptr;
    zwlr_data_control_device_v1* m_device = nullptr;
    bool m_isStandard = false; // the manager is of the protocol that came after wlroots' own
    bool m_hasPrimary = false;
};

} // namespace fenlo
