#include "platform/linux/wayland/posting/PasteKeys.h"

#include "platform/KeyCodes.h"
#include "platform/linux/desktop/keys/PortKeys.h"
#include "platform/linux/wayland/posting/RemoteDesktopKeys.h"
#include "platform/linux/wayland/posting/SessionKeyboard.h"
#include "platform/linux/wayland/posting/UinputKeyboard.h"
#include "platform/linux/wayland/posting/VirtualKeyboard.h"

#include <algorithm>

namespace fenlo {

namespace {

struct PressedModifier {
    std::uint64_t flag;
    std::uint16_t portCode;
};

constexpr PressedModifier pressable[] = {
    {mask::control, key::controlLeft},
    {mask::shift, key::shiftLeft},
    {mask::option, key::optionLeft},
};

std::uint32_t symbolOf(std::uint16_t portCode) {
    const auto keys = portKeys();
    const auto found = std::find_if(keys.begin(), keys.end(), [&](auto& each) { return each.portCode == portCode; });
    return found != keys.end() ? found->symbol : 0;
}

/// The chord, or the one with the same effect where the layout has no Latin letters.
std::optional<KeyChord> possible(const SessionKeymap& keymap, std::uint16_t portCode, std::uint64_t flags) {
    const KeyChord chord = KeyChord{portCode, flags}.onThisDesktop();
    if (keymap.find(chord.portCode))
        return chord;
    const auto substitute = chord.withoutLetters();
    return substitute && keymap.find(substitute->portCode) ? substitute : std::nullopt;
}

std::vector<std::uint16_t> keysOf(const KeyChord& chord) {
    std::vector<std::uint16_t> keys;
    for (const PressedModifier& each : pressable)
        if (chord.flags & each.flag)
            keys.push_back(each.portCode);
    keys.push_back(chord.portCode);
    return keys;
}

/// The portal looks symbols up in the layout that is current, and drops those that it lacks; a key code means the same
/// in all groups, unless they disagree on it. Modifiers are symbols, since the user may have exchanged them.
std::vector<RemoteDesktopKeys::Key> portalKeys(const SessionKeymap& keymap, const KeyChord& chord) {
    std::vector<RemoteDesktopKeys::Key> keys;
    for (const std::uint16_t each : keysOf(chord)) {
        const bool isSymbol = flagOf(each) || keymap.isAmbiguous(each) || !keymap.find(each);
        keys.push_back({isSymbol ? symbolOf(each) : keymap.find(each)->code, isSymbol});
    }
    return keys;
}

std::vector<std::uint32_t> kernelKeys(const SessionKeymap& keymap, const KeyChord& chord) {
    std::vector<std::uint32_t> codes;
    for (const std::uint16_t each : keysOf(chord))
        if (const auto found = keymap.find(each))
            codes.push_back(found->code);
    return codes;
}

} // namespace

PasteKeys::PasteKeys(WaylandConnection& connection, Options options)
    : m_options(std::move(options)), m_session(std::make_unique<SessionKeyboard>(connection)),
      m_virtualKeyboard(VirtualKeyboard::open(connection, *m_session)) {
    if (m_virtualKeyboard)
        return;
    m_remoteDesktop = std::make_unique<RemoteDesktopKeys>(m_options.tokenFile);
    // Programs learn of a new keyboard late, so it is there before it is needed.
    if (UinputKeyboard::obstacle(m_options.uinput).empty())
        m_uinput = UinputKeyboard::make(m_options.uinput);
}

PasteKeys::~PasteKeys() = default;

PasteKeys::Road PasteKeys::road() const {
    if (m_virtualKeyboard && m_virtualKeyboard->isUsable())
        return {PostingRoad::virtualKeyboard, "a virtual keyboard of the compositor"};
    if (m_virtualKeyboard)
        return {PostingRoad::none, "the compositor has ended"};
    if (m_remoteDesktop->isUsable())
        return {PostingRoad::remoteDesktop, "the desktop's RemoteDesktop portal, which asks for leave once"};
    const std::string portal =
        m_remoteDesktop->isRefused() ? "the desktop's portal was refused" : "there is no RemoteDesktop portal";
    if (m_uinput)
        return {PostingRoad::uinput, "a keyboard of the kernel's (" + portal + ")"};
    std::string obstacle = UinputKeyboard::obstacle(m_options.uinput);
    if (obstacle.empty())
        obstacle = m_options.uinput.string() + " makes no keyboard";
    return {PostingRoad::none, "the compositor has no virtual keyboard, " + portal + " and " + obstacle +
                                   "; texts wait on the clipboard for Ctrl+V"};
}

void PasteKeys::prepare() {
    if (m_remoteDesktop)
        m_remoteDesktop->prepare();
}

std::optional<SessionKeymap> PasteKeys::keymap() const {
    auto keymap = m_session->keymap();
    return keymap ? keymap : SessionKeymap::american();
}

bool PasteKeys::post(std::uint16_t keyCode, std::uint64_t flags, KeyDirection direction) {
    if (m_virtualKeyboard)
        return direction == KeyDirection::down
                   ? m_virtualKeyboard->press(keyCode, KeyChord{keyCode, flags}.onThisDesktop().flags)
                   : m_virtualKeyboard->release(keyCode);
    return direction == KeyDirection::down ? press(keyCode, flags) : release(keyCode);
}

bool PasteKeys::press(std::uint16_t keyCode, std::uint64_t flags) {
    const auto layout = keymap();
    const auto chord = layout ? possible(*layout, keyCode, flags) : std::nullopt;
    if (!chord)
        return false;
    auto symbols = portalKeys(*layout, *chord);
    if (m_remoteDesktop->send(symbols, true)) {
        std::reverse(symbols.begin(), symbols.end());
        m_release[keyCode] = [this, symbols] { return m_remoteDesktop->send(symbols, false); };
        return true;
    }
    auto codes = kernelKeys(*layout, *chord);
    if (!m_uinput || !m_uinput->send(codes, true))
        return false;
    std::reverse(codes.begin(), codes.end());
    m_release[keyCode] = [this, codes] { return m_uinput->send(codes, false); };
    return true;
}

bool PasteKeys::release(std::uint16_t keyCode) {
    const auto release = std::exchange(m_release[keyCode], nullptr);
    return release && release();
}

bool PasteKeys::type(const std::string& text) {
    // The other roads lose the characters that the current layout lacks.
    return m_virtualKeyboard && m_virtualKeyboard->type(text);
}

bool PasteKeys::canPost() const {
    return road().kind != PostingRoad::none;
}

bool PasteKeys::canDeliver(std::uint16_t keyCode) const {
    if (m_virtualKeyboard)
        return m_virtualKeyboard->canDeliver(keyCode);
    const auto layout = keymap();
    return layout && layout->find(keyCode);
}

void PasteKeys::releaseModifiers(double limit) {
    // Our own keyboard has modifiers of its own. On the other roads a modifier that is held for longer stays held: only
    // its own keyboard can lift it.
    if (m_options.waitForModifiers)
        m_options.waitForModifiers(deadlineAfter(limit));
}

} // namespace fenlo
