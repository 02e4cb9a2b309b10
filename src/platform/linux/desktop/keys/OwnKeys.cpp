#include "platform/linux/desktop/keys/OwnKeys.h"

#include <algorithm>

namespace fenlo {

namespace {
constexpr auto patience = std::chrono::seconds(1);
}

void OwnKeys::expect(KeyboardMap::XKey key, KeyDirection direction, Time now) {
    m_expected.with([&](auto& expected) { expected.push_back({key, direction, now + patience}); });
}

bool OwnKeys::consume(KeyboardMap::XKey key, KeyDirection direction, Time now) {
    return m_expected.with([&](auto& expected) {
        std::erase_if(expected, [&](const Expected& each) { return each.expires < now; });
        const auto found = std::find_if(expected.begin(), expected.end(), [&](const Expected& each) {
            return each.key == key && each.direction == direction;
        });
        if (found == expected.end())
            return false;
        expected.erase(found);
        return true;
    });
}

} // namespace fenlo
