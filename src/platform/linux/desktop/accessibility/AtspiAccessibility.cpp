#include "platform/linux/desktop/accessibility/AtspiAccessibility.h"

#include "platform/KeyEvents.h"
#include "platform/linux/desktop/accessibility/AtspiThread.h"

namespace fenlo {

AtspiAccessibility::AtspiAccessibility(const KeyEvents& keys)
    : m_keys(keys), m_thread(std::make_unique<AtspiThread>()) {}

AtspiAccessibility::~AtspiAccessibility() = default;

bool AtspiAccessibility::isAvailable() const {
    return m_thread->isAvailable();
}

bool AtspiAccessibility::trusted() const {
    return m_keys.canPost();
}

void AtspiAccessibility::request() {
    m_thread->announce();
}

std::optional<FocusedElement> AtspiAccessibility::focusedElement(double limit) {
    return m_thread->focusedElement(limit);
}

std::optional<ActiveProgram> AtspiAccessibility::activeProgram(double limit) {
    return m_thread->activeProgram(limit);
}

} // namespace fenlo
