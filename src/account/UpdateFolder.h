#pragma once

#include "account/UpdateOffer.h"

#include <filesystem>

namespace fenlo {

/// The folder of downloaded packages. What is checked in it stays as it was checked until it is handed over: nobody
/// but the user can put anything there.
///
/// Threads: workers, one at a time.
class UpdateFolder {
public:
    explicit UpdateFolder(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    /// Makes it. Throws UpdateFault when others can write into it or put another in its place.
    void prepare() const;

    /// Where the package comes to lie, and where it grows. The name of the second holds a part of the signature: what
    /// came of another package is not continued.
    std::filesystem::path packageFile(const UpdateOffer& offer) const;
    std::filesystem::path partialFile(const UpdateOffer& offer) const;

    /// Removes all files but those of this offer.
    void removeOthers(const UpdateOffer& offer) const;
    /// Removes the packages that are not newer than this version, and what is neither a package nor a part of one.
    void removeUpTo(const ReleaseVersion& installed) const;

private:
    template <typename Keep>
    void removeUnless(Keep keep) const;

    const std::filesystem::path m_folder;
};

} // namespace fenlo
