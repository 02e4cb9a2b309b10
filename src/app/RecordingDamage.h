#pragma once

#include "media/AudioDamage.h"

#include <filesystem>
#include <span>

namespace fenlo {

/// One line on standard error for each stretch of the recording that could not be read.
void tellDamages(const std::filesystem::path& recording, std::span<const AudioDamage> damages);

} // namespace fenlo
