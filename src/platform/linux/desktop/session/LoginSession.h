#pragma once

#include "platform/linux/desktop/DBusConnection.h"

#include <optional>

namespace fenlo {

/// The login manager, on the system bus. (https://www.freedesktop.org/software/systemd/man/org.freedesktop.login1.html)
namespace login {
inline constexpr char service[] = "org.freedesktop.login1";
inline constexpr char sessionInterface[] = "org.freedesktop.login1.Session";
} // namespace login

/// The session that this process belongs to; failing that the user's graphical one. Nothing without a login manager.
std::optional<DBusConnection::Object> findLoginSession(const DBusConnection& systemBus);

/// A connection to one of the usual buses, or nothing.
std::optional<DBusConnection> connectToBus(GBusType bus, GCancellable* cancel);

/// When an object of the desktop's services has to answer that is asked now.
DBusConnection::Clock::time_point answerDeadline();

/// False for anything but a true truth value.
bool isTrue(GVariant* value);

} // namespace fenlo
