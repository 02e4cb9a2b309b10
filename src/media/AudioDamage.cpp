#include "media/AudioDamage.h"

#include "base/Text.h"

namespace fenlo {

std::string describe(const AudioDamage& damage) {
    std::string line = damage.kind == AudioDamage::Kind::cut ? "cut off at " : "damaged at ";
    line += text::fixed(damage.start, 1) + " s";
    if (damage.lost)
        line += ", " + text::fixed(*damage.lost, *damage.lost < 1 ? 2 : 1) + " s lost";
    return line;
}

} // namespace fenlo
