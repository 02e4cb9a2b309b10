#pragma once

#include <QDBusArgument>

namespace fenlo {

/// The values as one structure on the message bus, in this order.
template <typename... Values>
QDBusArgument& writeStructure(QDBusArgument& out, const Values&... values) {
    out.beginStructure();
    (out << ... << values);
    out.endStructure();
    return out;
}

template <typename... Values>
const QDBusArgument& readStructure(const QDBusArgument& in, Values&... values) {
    in.beginStructure();
    (in >> ... >> values);
    in.endStructure();
    return in;
}

} // namespace fenlo
