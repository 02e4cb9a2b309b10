#include "platform/linux/wayland/clipboard/DataControlConnection.h"

#include "ext-data-control-v1-client-protocol.h"

#include <algorithm>
#include <fcntl.h>
#include <poll.h>

namespace fenlo {

std::unique_ptr<DataControlConnection> DataControlConnection::open() {
    wl_display* const display = wl_display_connect(nullptr);
    if (!display)
        return nullptr;
    ::fcntl(wl_display_get_fd(display), F_SETFD, FD_CLOEXEC);
    std::unique_ptr<DataControlConnection> connection(new DataControlConnection(display));
    return connection->learnGlobals() ? std::move(connection) : nullptr;
}

DataControlConnection::~DataControlConnection() {
    if (m_device)
        zwlr_data_control_device_v1_destroy(m_device);
    if (m_manager)
        zwlr_data_control_manager_v1_destroy(m_manager);
    if (m_seat)
        wl_seat_destroy(m_seat);
    if (m_registry)
        wl_registry_destroy(m_registry);
    // What was asked for last still goes out.
    wl_display_flush(m_display);
    wl_display_disconnect(m_display);
}

bool DataControlConnection::learnGlobals() {
    static constexpr wl_registry_listener listener{
        [](void* self, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
            static_cast<DataControlConnection*>(self)->take(name, interface, version);
        },
        [](void*, wl_registry*, std::uint32_t) {},
    };
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, &listener, this);
    if (wl_display_roundtrip(m_display) < 0 || !m_seat || !m_manager)
        return false;
    m_device = zwlr_data_control_manager_v1_get_data_device(m_manager, m_seat);
    return true;
}

void DataControlConnection::take(std::uint32_t name, const std::string& interface, std::uint32_t version) {
    const auto bind = [&](const wl_interface& kind, std::uint32_t most) {
        return wl_registry_bind(m_registry, name, &kind, std::min(version, most));
    };
    if (interface == wl_seat_interface.name && !m_seat)
        m_seat = static_cast<wl_seat*>(bind(wl_seat_interface, 1));
    const bool isStandard = interface == ext_data_control_manager_v1_interface.name;
    const bool isForerunner = interface == zwlr_data_control_manager_v1_interface.name;
    if ((!isStandard && !isForerunner) || m_isStandard)
        return;
    if (m_manager)
        zwlr_data_control_manager_v1_destroy(m_manager);
    m_manager = static_cast<zwlr_data_control_manager_v1*>(
        isStandard ? bind(ext_data_control_manager_v1_interface, 1) : bind(zwlr_data_control_manager_v1_interface, 2));
    m_isStandard = isStandard;
    m_hasPrimary = isStandard || version >= ZWLR_DATA_CONTROL_DEVICE_V1_SET_PRIMARY_SELECTION_SINCE_VERSION;
}

void DataControlConnection::handleArrived() {
    while (wl_display_prepare_read(m_display) != 0)
        if (wl_display_dispatch_pending(m_display) < 0)
            return;
    flush();
    pollfd source{descriptor(), POLLIN, 0};
    if (::poll(&source, 1, 0) > 0)
        wl_display_read_events(m_display);
    else
        wl_display_cancel_read(m_display);
    wl_display_dispatch_pending(m_display);
    flush();
}

void DataControlConnection::flush() {
    wl_display_flush(m_display);
}

void DataControlConnection::sync(std::shared_ptr<bool> isAnswered) {
    static constexpr wl_callback_listener listener{[](void* given, wl_callback* callback, std::uint32_t) {
        const std::unique_ptr<std::shared_ptr<bool>> answered(static_cast<std::shared_ptr<bool>*>(given));
        **answered = true;
        wl_callback_destroy(callback);
    }};
    wl_callback* const callback = wl_display_sync(m_display);
    wl_callback_add_listener(callback, &listener, new std::shared_ptr<bool>(std::move(isAnswered)));
    flush();
}

} // namespace fenlo
