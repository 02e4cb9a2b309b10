#include "session/ContextReader.h"

#include "base/Clock.h"
#include "base/Text.h"
#include "platform/Accessibility.h"
#include "platform/Pasteboard.h"
#include "platform/Workspace.h"

#include <algorithm>

namespace fenlo {

namespace {

constexpr std::size_t textLimit = 2000; // characters

/// A hung application must leave time for the clipboard, whose owner is another program.
constexpr double accessibilityShare = 0.100; // seconds

bool takesText(const std::string& role) {
    return role == "AXTextField" || role == "AXTextArea" || role == "AXComboBox";
}

} // namespace

ContextReader::ContextReader(Workspace& workspace, Accessibility& accessibility, Pasteboard& pasteboard,
                             const Clock& clock)
    : m_workspace(workspace), m_accessibility(accessibility), m_pasteboard(pasteboard), m_clock(clock) {}

ContextReader::Context ContextReader::read() {
    const double deadline = m_clock.now() + timeLimit;
    Context context;
    const auto application = m_workspace.frontApplication();
    if (application) {
        context.appName = application->name;
        context.appBundleId = application->id;
    }
    const bool isOwn = application && application->isOwn; // would only cost the time
    if (const auto element = isOwn ? std::nullopt : m_accessibility.focusedElement(accessibilityShare)) {
        context.hasTextField = element->value.has_value() || takesText(element->role);
        // The end is kept because the cursor is usually there.
        context.existingText = text::lastCharacters(element->value.value_or(""), textLimit);
        context.selectedText = element->selectedText;
    }
    const double left = std::max(0.0, deadline - m_clock.now());
    context.clipboardText = text::firstCharacters(m_pasteboard.string(left).text.value_or(""), textLimit);
    return context;
}

} // namespace fenlo
