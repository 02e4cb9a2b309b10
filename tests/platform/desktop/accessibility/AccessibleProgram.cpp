#include "platform/desktop/accessibility/AccessibleProgram.h"

#include <algorithm>
#include <stdexcept>

namespace fenlo::test {

namespace {

constexpr char prefix[] = "/org/a11y/atspi/accessible/";

std::string busAddress(GCancellable* cancel) {
    std::string error;
    const auto session = DBusConnection::open(DBusConnection::addressOf(G_BUS_TYPE_SESSION, cancel), cancel, error);
    if (!session)
        throw std::runtime_error("no session bus: " + error);
    const auto deadline = DBusConnection::Clock::now() + std::chrono::seconds(10);
    const auto answer =
        session->call({"org.a11y.Bus", "/org/a11y/bus"}, {"org.a11y.Bus", "GetAddress", nullptr, "(s)"}, deadline);
    if (!answer)
        throw std::runtime_error("no accessibility service");
    const char* address = nullptr;
    g_variant_get(answer.get(), "(&s)", &address);
    return address;
}

} // namespace

AccessibleProgram::AccessibleProgram(std::vector<Control> controls)
    : m_controls(std::move(controls)), m_cancel(g_cancellable_new()) {
    std::string error;
    m_bus = DBusConnection::open(busAddress(m_cancel.get()), m_cancel.get(), error);
    if (!m_bus)
        throw std::runtime_error("no accessibility bus: " + error);
    g_dbus_connection_add_filter(m_bus->get(), &AccessibleProgram::filter, this, nullptr);
    const auto deadline = DBusConnection::Clock::now() + std::chrono::seconds(10);
    const DBusConnection::Object desktop{"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"};
    if (!m_bus->call(desktop, {"org.a11y.atspi.Socket", "Embed", g_variant_new("(@(so))", reference(0))}, deadline))
        throw std::runtime_error("the registry does not answer");
}

AccessibleProgram::~AccessibleProgram() {
    g_dbus_connection_close_sync(m_bus->get(), nullptr, nullptr);
}

GVariant* AccessibleProgram::reference(std::size_t control) const {
    return g_variant_new("(so)", g_dbus_connection_get_unique_name(m_bus->get()),
                         (prefix + std::to_string(control)).c_str());
}

void AccessibleProgram::tell(const char* kind, const char* member, std::size_t control, const char* detail, int value) {
    g_dbus_connection_emit_signal(m_bus->get(), nullptr, (prefix + std::to_string(control)).c_str(),
                                  (std::string("org.a11y.atspi.Event.") + kind).c_str(), member,
                                  g_variant_new("(siiv@(so))", detail, value, 0, g_variant_new_int32(0), reference(0)),
                                  nullptr);
    g_dbus_connection_flush_sync(m_bus->get(), nullptr, nullptr);
}

GDBusMessage* AccessibleProgram::filter(GDBusConnection* bus, GDBusMessage* message, gboolean incoming, void* given) {
    auto* const self = static_cast<AccessibleProgram*>(given);
    const char* const path = g_dbus_message_get_path(message);
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL || !path ||
        !std::string(path).starts_with(prefix))
        return message;
    const auto number = static_cast<std::size_t>(std::atoi(path + sizeof prefix - 1));
    const std::string question = g_dbus_message_get_member(message);
    if (self->m_unanswered.with([&](const std::string& name) { return name != everything && name != question; })) {
        GVariant* const body = self->m_controls.with([&](const auto& controls) {
            return self->answer(question, g_dbus_message_get_body(message), controls.at(number));
        });
        GDBusMessage* const reply =
            body ? g_dbus_message_new_method_reply(message)
                 : g_dbus_message_new_method_error_literal(message, "org.freedesktop.DBus.Error.UnknownMethod", "none");
        if (body)
            g_dbus_message_set_body(reply, body);
        g_dbus_connection_send_message(bus, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
        g_object_unref(reply);
    }
    g_object_unref(message);
    return nullptr;
}

GVariant* AccessibleProgram::answer(const std::string& member, GVariant* arguments, const Control& control) {
    static const std::string none;
    const std::string& text = control.text ? *control.text : none;
    if (member == "GetRole")
        return g_variant_new("(u)", control.role);
    if (member == "GetRoleName")
        return g_variant_new("(s)", "push button");
    if (member == "GetState") {
        std::uint32_t words[2] = {};
        for (const unsigned state : control.states)
            words[state / 32] |= 1U << (state % 32);
        return g_variant_new("(@au)", g_variant_new_fixed_array(G_VARIANT_TYPE_UINT32, words, 2, sizeof words[0]));
    }
    if (member == "GetInterfaces") {
        const char* names[] = {"org.a11y.atspi.Accessible", control.text ? "org.a11y.atspi.Text" : nullptr, nullptr};
        return g_variant_new("(^as)", names);
    }
    if (member == "GetChildren") {
        GVariantBuilder children;
        g_variant_builder_init(&children, G_VARIANT_TYPE("a(so)"));
        for (const std::size_t child : control.children)
            g_variant_builder_add_value(&children, reference(child));
        return g_variant_new("(a(so))", &children);
    }
    if (member == "Get" && control.text)
        return g_variant_new("(v)", g_variant_new_int32(static_cast<int>(text.size())));
    if (member == "GetNSelections")
        return g_variant_new("(i)", control.selection.first < control.selection.second ? 1 : 0);
    if (member == "GetSelection")
        return g_variant_new("(ii)", control.selection.first, control.selection.second);
    if (member == "GetText") {
        int start = 0, end = 0;
        g_variant_get(arguments, "(ii)", &start, &end);
        m_longestRequest = std::max(m_longestRequest.load(), end - start);
        return g_variant_new(
            "(s)", text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)).c_str());
    }
    return nullptr;
}

} // namespace fenlo::test
