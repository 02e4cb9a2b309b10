#pragma once

#include "base/Guarded.h"
#include "platform/Accessibility.h"
#include "platform/linux/desktop/DBusConnection.h"

#include <cstdint>
#include <vector>

namespace fenlo {

/// A control of another program, asked through the accessibility bus. Each question waits for that program, until the
/// deadline at most.
///
/// Threads: that of the connection.
class AtspiElement {
public:
    using Object = DBusConnection::Object;
    using Time = DBusConnection::Clock::time_point;

    /// The connection must outlive this.
    AtspiElement(const DBusConnection& bus, Object object, Time deadline)
        : m_bus(bus), m_object(std::move(object)), m_deadline(deadline) {}

    const Object& object() const { return m_object; }

    bool isActive() const;
    bool isFocused() const;
    std::vector<Object> children() const;

    /// Fills in one value after the other, so that a late answer costs only its own value; the reader may look at any
    /// time. False when the program does not answer at all.
    bool read(Guarded<std::optional<FocusedElement>>& element) const;

private:
    bool hasState(unsigned number) const;
    std::optional<std::uint32_t> role() const;
    std::string roleName() const;
    bool hasText() const;
    std::string portRole(std::uint32_t role) const;
    std::optional<std::string> endOfText() const;
    std::string selectedText() const;
    std::optional<std::string> textBetween(std::int32_t start, std::int32_t end) const;
    /// The same control with half of the remaining time.
    AtspiElement inHalfTheTime() const;
    DBusConnection::Answer ask(const DBusConnection::Call& call) const;
    /// The states as the program gave them, asked once.
    std::uint64_t states() const;

    const DBusConnection& m_bus;
    const Object m_object;
    const Time m_deadline;
    mutable std::optional<std::uint64_t> m_states;
};

} // namespace fenlo
