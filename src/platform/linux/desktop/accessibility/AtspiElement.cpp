#include "platform/linux/desktop/accessibility/AtspiElement.h"

#include "base/Text.h"

#include <algorithm>
#include <atspi/atspi-constants.h>

namespace fenlo {

namespace {

constexpr char accessible[] = "org.a11y.atspi.Accessible";
constexpr char text_[] = "org.a11y.atspi.Text";

constexpr std::int32_t longestValue = 4000; // code points, from the end of a long document

constexpr char textField[] = "AXTextField";
constexpr char textArea[] = "AXTextArea";
constexpr char comboBox[] = "AXComboBox";

/// The text without the marks that stand for embedded objects.
std::string clean(const char* raw) {
    constexpr char embeddedObject[] = "\uFFFC";
    return text::replaceAll(text::repairUtf8(raw), embeddedObject, "");
}

} // namespace

bool AtspiElement::isActive() const {
    return hasState(ATSPI_STATE_ACTIVE);
}

bool AtspiElement::isFocused() const {
    return hasState(ATSPI_STATE_FOCUSED);
}

std::vector<AtspiElement::Object> AtspiElement::children() const {
    std::vector<Object> children;
    const auto answer = ask({accessible, "GetChildren", nullptr, "(a(so))"});
    if (!answer)
        return children;
    GVariantIter* entries = nullptr;
    g_variant_get(answer.get(), "(a(so))", &entries);
    const char *program, *path;
    while (g_variant_iter_next(entries, "(&s&o)", &program, &path))
        children.push_back({program, path});
    g_variant_iter_free(entries);
    return children;
}

bool AtspiElement::read(Guarded<std::optional<FocusedElement>>& element) const {
    const auto found = role();
    if (!found)
        return false;
    const auto tell = [&](const FocusedElement& known) { element.with([&](auto& shared) { shared = known; }); };
    FocusedElement known{std::nullopt, textField, "", *found == ATSPI_ROLE_TERMINAL};
    // A password never serves as context.
    const bool isPassword = *found == ATSPI_ROLE_PASSWORD_TEXT;
    if (!isPassword)
        known.role = portRole(*found);
    tell(known);
    if (isPassword || !hasText())
        return true;
    // The selection first: it is mostly short, and a long text may use up the time.
    known.selectedText = inHalfTheTime().selectedText();
    tell(known);
    if (known.role == textField || known.role == textArea || known.role == comboBox)
        known.value = endOfText();
    tell(known);
    return true;
}

AtspiElement AtspiElement::inHalfTheTime() const {
    const auto now = DBusConnection::Clock::now();
    return AtspiElement(m_bus, m_object, now + (m_deadline - now) / 2);
}

std::string AtspiElement::portRole(std::uint32_t role) const {
    switch (role) {
    case ATSPI_ROLE_TEXT:
        return hasState(ATSPI_STATE_SINGLE_LINE) ? textField : textArea;
    case ATSPI_ROLE_ENTRY:
        return hasState(ATSPI_STATE_MULTI_LINE) ? textArea : textField;
    case ATSPI_ROLE_SPIN_BUTTON:
    case ATSPI_ROLE_AUTOCOMPLETE:
    case ATSPI_ROLE_EDITBAR:
        return textField;
    case ATSPI_ROLE_COMBO_BOX:
        return comboBox;
    case ATSPI_ROLE_TERMINAL:
        return textArea;
    default:
        return hasState(ATSPI_STATE_EDITABLE) ? textArea : roleName();
    }
}

std::optional<std::string> AtspiElement::endOfText() const {
    const auto count = m_bus.property(m_object, text_, "CharacterCount", m_deadline);
    if (!count || !g_variant_is_of_type(count.get(), G_VARIANT_TYPE_INT32))
        return std::nullopt;
    const std::int32_t end = g_variant_get_int32(count.get());
    return textBetween(std::max(0, end - longestValue), end);
}

std::string AtspiElement::selectedText() const {
    const auto answer = ask({text_, "GetNSelections", nullptr, "(i)"});
    std::int32_t count = 0, start = 0, end = 0;
    if (answer)
        g_variant_get(answer.get(), "(i)", &count);
    const auto range = count > 0 ? ask({text_, "GetSelection", g_variant_new("(i)", 0), "(ii)"}) : nullptr;
    if (!range)
        return "";
    g_variant_get(range.get(), "(ii)", &start, &end);
    return textBetween(std::min(start, end), std::max(start, end)).value_or("");
}

std::optional<std::string> AtspiElement::textBetween(std::int32_t start, std::int32_t end) const {
    if (start >= end)
        return "";
    const auto answer = ask({text_, "GetText", g_variant_new("(ii)", start, end), "(s)"});
    if (!answer)
        return std::nullopt;
    const char* raw = nullptr;
    g_variant_get(answer.get(), "(&s)", &raw);
    return clean(raw);
}

bool AtspiElement::hasState(unsigned number) const {
    return states() >> number & 1;
}

std::uint64_t AtspiElement::states() const {
    if (m_states)
        return *m_states;
    const auto answer = ask({accessible, "GetState", nullptr, "(au)"});
    if (!answer)
        return 0;
    m_states = 0;
    GVariantIter* words = nullptr;
    g_variant_get(answer.get(), "(au)", &words);
    std::uint32_t word = 0;
    for (unsigned shift = 0; shift < 64 && g_variant_iter_next(words, "u", &word); shift += 32)
        *m_states |= std::uint64_t{word} << shift;
    g_variant_iter_free(words);
    return *m_states;
}

std::optional<std::uint32_t> AtspiElement::role() const {
    const auto answer = ask({accessible, "GetRole", nullptr, "(u)"});
    if (!answer)
        return std::nullopt;
    std::uint32_t role = 0;
    g_variant_get(answer.get(), "(u)", &role);
    return role;
}

std::string AtspiElement::roleName() const {
    const auto answer = ask({accessible, "GetRoleName", nullptr, "(s)"});
    if (!answer)
        return "";
    const char* name = nullptr;
    g_variant_get(answer.get(), "(&s)", &name);
    return name;
}

bool AtspiElement::hasText() const {
    const auto answer = ask({accessible, "GetInterfaces", nullptr, "(as)"});
    if (!answer)
        return false;
    const GlibOwned<GVariant> names(g_variant_get_child_value(answer.get(), 0));
    const char** const list = g_variant_get_strv(names.get(), nullptr);
    const bool has = g_strv_contains(list, text_);
    g_free(list);
    return has;
}

DBusConnection::Answer AtspiElement::ask(const DBusConnection::Call& call) const {
    return m_bus.call(m_object, call, m_deadline);
}

} // namespace fenlo
