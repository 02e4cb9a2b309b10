#include "app/RecordingDamage.h"

#include <cstdio>

namespace fenlo {

void tellDamages(const std::filesystem::path& recording, std::span<const AudioDamage> damages) {
    for (const AudioDamage& damage : damages)
        std::fprintf(stderr, "fenlo: %s: %s\n", recording.c_str(), describe(damage).c_str());
}

} // namespace fenlo
