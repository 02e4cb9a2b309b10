#pragma once

#include "audio/ClipPreparation.h"
#include "base/LockedFile.h"

#include <optional>

namespace fenlo {

/// A clip prepared for the upload. A file that was made for it is locked, so that removeAbandonedClips() leaves it
/// alone, and deleted with this object; the clip itself stays.
class PreparedClip {
public:
    explicit PreparedClip(const std::filesystem::path& original)
        : file(prepareClip(original)), m_original(original),
          m_hold(LockedFile::open(file, LockedFile::Sharing::shared)) {}
    PreparedClip(const PreparedClip&) = delete;
    PreparedClip& operator=(const PreparedClip&) = delete;
    ~PreparedClip() { removePreparedClip(file, m_original); }

    const std::filesystem::path file; // what to send

private:
    const std::filesystem::path m_original;
    const std::optional<LockedFile> m_hold;
};

} // namespace fenlo
