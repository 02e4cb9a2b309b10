#include "platform/linux/desktop/session/LoginSession.h"

namespace fenlo {

namespace {
constexpr char managerPath[] = "/org/freedesktop/login1";
constexpr char managerInterface[] = "org.freedesktop.login1.Manager";
constexpr auto questionLimit = std::chrono::seconds(2);
} // namespace

std::optional<DBusConnection::Object> findLoginSession(const DBusConnection& systemBus) {
    const auto answer =
        systemBus.call({login::service, managerPath},
                       {managerInterface, "GetSession", g_variant_new("(s)", "auto"), "(o)"}, answerDeadline());
    if (!answer)
        return std::nullopt;
    const char* path = nullptr;
    g_variant_get(answer.get(), "(&o)", &path);
    return DBusConnection::Object{login::service, path};
}

std::optional<DBusConnection> connectToBus(GBusType bus, GCancellable* cancel) {
    std::string error;
    const std::string address = DBusConnection::addressOf(bus, cancel);
    return address.empty() ? std::nullopt : DBusConnection::open(address, cancel, error);
}

DBusConnection::Clock::time_point answerDeadline() {
    return DBusConnection::Clock::now() + questionLimit;
}

bool isTrue(GVariant* value) {
    return value && g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(value);
}

} // namespace fenlo
