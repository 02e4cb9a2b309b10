#pragma once

#include "platform/KeyEvents.h"
#include "platform/linux/desktop/XDisplay.h"
#include "platform/linux/desktop/keys/KeyboardMap.h"
#include "platform/linux/desktop/keys/OwnKeys.h"

#include <map>
#include <memory>
#include <vector>

namespace fenlo {

struct KeyChord;

/// Presses and releases keys through XTest, on a connection of its own.
///
/// Threads: one.
class X11KeyPoster {
public:
    using XKey = KeyboardMap::XKey;

    /// Nothing when there is no server.
    static std::unique_ptr<X11KeyPoster> open(OwnKeys& own);
    ~X11KeyPoster();

    bool isConnected() const { return !m_display->isLost(); }
    bool hasXTest() const { return m_hasXTest; }
    bool canDeliver(std::uint16_t portCode);

    /// Presses the chord's modifiers, lifts the others, lets them settle and presses the key. Returns when the server
    /// has taken it.
    bool press(std::uint16_t portCode, std::uint64_t flags);
    bool release(std::uint16_t portCode);

    /// Types a text that the layout has keys for.
    bool type(std::string_view text);

    bool holdsModifier();
    void liftModifiers();

private:
    X11KeyPoster(std::unique_ptr<XDisplay> display, OwnKeys& own);

    struct Press {
        XKey key;
        std::uint64_t flags;
    };

    unsigned currentGroup();
    std::optional<Press> findPress(const KeyChord& chord, unsigned group) const;
    /// Lifts and presses modifiers until exactly the wanted ones are down. Returns whether anything changed.
    bool prepareModifiers(std::uint64_t wanted, unsigned group);
    void releaseModifiers();
    void fake(XKey key, KeyDirection direction, unsigned long delay = 0);

    const std::unique_ptr<XDisplay> m_display;
    OwnKeys& m_own;
    bool m_hasXTest = false;
    int m_keyboardEvents = 0;
    KeyboardMap m_map;
    bool m_mapIsStale = false;
    std::map<std::uint16_t, XKey> m_pressed; // port code to what was pressed for it
    std::vector<XKey> m_pressedModifiers;
    std::uint64_t m_settled = 0; // modifiers of the last chord; the next member is when it ended
    OwnKeys::Time m_lastRelease;
};

} // namespace fenlo
