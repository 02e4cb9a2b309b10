#include "platform/linux/desktop/clipboard/ClipboardHistory.h"

#include "base/Text.h"

#include <utility>

namespace fenlo {

namespace {

constexpr char service[] = "org.gnome.GPaste";
constexpr char path[] = "/org/gnome/GPaste";
constexpr char interface[] = "org.gnome.GPaste2";
constexpr auto managerLimit = std::chrono::seconds(2);
constexpr auto staysUnwanted = std::chrono::minutes(1);

/// The manager has an option to cut blanks at the ends.
bool isSame(const std::string& entry, const std::string& text) {
    return text::trimWhitespaceAndNewlines(entry) == text::trimWhitespaceAndNewlines(text);
}

} // namespace

ClipboardHistory::ClipboardHistory() : m_end(g_cancellable_new()) {}

ClipboardHistory::~ClipboardHistory() {
    g_cancellable_cancel(m_end.get());
}

void ClipboardHistory::leaveOut(const std::string& text) {
    m_thread.invoke([this, text] {
        connect();
        m_unwanted.push_back({text, Clock::now() + staysUnwanted});
    });
}

void ClipboardHistory::admit(const std::string& text) {
    m_thread.invoke([this, text] { std::erase_if(m_unwanted, [&](auto& each) { return isSame(each.text, text); }); });
}

void ClipboardHistory::connect() {
    if (m_bus)
        return;
    std::string unused;
    m_bus = DBusConnection::open(DBusConnection::addressOf(G_BUS_TYPE_SESSION, m_end.get()), m_end.get(), unused);
    if (!m_bus)
        return;
    // Called after a running manager told of a change, so the call cannot start one.
    g_dbus_connection_signal_subscribe(
        m_bus->get(), service, interface, "Update", path, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*, void* self) {
            auto* const history = static_cast<ClipboardHistory*>(self);
            history->m_thread.invoke([history] { history->cleanUp(); });
        },
        this, nullptr);
}

void ClipboardHistory::cleanUp() {
    const auto now = Clock::now();
    std::erase_if(m_unwanted, [&](const Unwanted& each) { return each.until < now; });
    if (m_unwanted.empty())
        return;
    const DBusConnection::Object manager{service, path};
    const auto history = m_bus->call(manager, {interface, "GetHistory", nullptr, "(a(ss))"}, now + managerLimit);
    if (!history)
        return;
    const GlibOwned<GVariant> entries(g_variant_get_child_value(history.get(), 0));
    for (gsize i = 1; i < g_variant_n_children(entries.get()); ++i) {
        const char *id = nullptr, *text = nullptr;
        const GlibOwned<GVariant> entry(g_variant_get_child_value(entries.get(), i));
        g_variant_get(entry.get(), "(&s&s)", &id, &text);
        if (std::erase_if(m_unwanted, [&](const Unwanted& each) { return isSame(text, each.text); }) > 0)
            m_bus->call(manager, {interface, "Delete", g_variant_new("(s)", id)}, now + managerLimit);
    }
}

} // namespace fenlo
