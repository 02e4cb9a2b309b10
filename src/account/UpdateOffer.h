#pragma once

#include "account/ReleaseVersion.h"
#include "account/UpdateFault.h"
#include "account/UpdateFeed.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// The file of a release that fits this system.
struct UpdatePackage {
    std::string url;
    std::string signature;    // 64 bytes
    std::uint64_t length = 0; // bytes
    std::string architecture; // of the system that it was chosen for
};

struct ReleaseNotes {
    ReleaseVersion version;
    std::string text;
};

/// A release that the user may want.
struct UpdateOffer {
    ReleaseVersion version;
    std::vector<ReleaseNotes> notes;      // of it and of those before it that the user does not have, newest first
    std::optional<UpdatePackage> package; // nothing where the program did not come in a package
};

/// What the releases of a feed are compared with.
struct UpdateGround {
    std::string origin;       // of the feed: packages come from nowhere else
    ReleaseVersion installed; // by the user
    bool takesPrereleases = false;
    std::optional<ReleaseVersion> newestVerified; // of any package that was once found to be right
    std::string architecture;                     // of this program's package; empty where it did not come in one
};

/// The longest package that is taken, in bytes: it is read into memory to be verified.
inline constexpr std::uint64_t longestPackage = 256u << 20u;

/// The newest release that the user does not have; nothing when there is none.
///
/// Errors: throws UpdateFault where the feed has no release that can be read, offers less than was once verified, or
///         names the file of the newest release in a way that cannot be used.
std::optional<UpdateOffer> chooseOffer(const std::vector<FeedItem>& releases, const UpdateGround& ground);

} // namespace fenlo
