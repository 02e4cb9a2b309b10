#pragma once

#include <chrono>

namespace fenlo {

/// Deletes the clips that prepareClip() made for a process that ended before it could: files of this user in the
/// temporary folder that bear such a name and that no process holds (see PreparedClip). A clip of the last seconds is
/// left alone; it may be on its way to its holder.
void removeAbandonedClips(std::chrono::system_clock::time_point now);

} // namespace fenlo
