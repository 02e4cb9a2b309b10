#pragma once

#include <chrono>

namespace fenlo {

/// Deletes prepared clips whose process ended before it could delete them: files of this user in the temporary folder
/// that have the name of a prepared clip and that no process holds (see PreparedClip). Clips of the last seconds stay:
/// their process may not hold them yet.
void removeAbandonedClips(std::chrono::system_clock::time_point now);

} // namespace fenlo
