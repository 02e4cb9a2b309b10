#pragma once

#include "account/PackageSignature.h"
#include "account/UpdateOffer.h"

#include <filesystem>
#include <stop_token>

namespace fenlo {

class PackageSystem;

/// Packages of the program have this name.
inline constexpr char packageName[] = "fenlo";

/// Finds out whether a downloaded package is what the feed promised: its length, the signature of the deployment's
/// makers, and then, since a feed may name an old package as a new release, the name, version and system that the
/// package itself tells.
///
/// Threads: workers; blocks for as long as it takes to read the file.
/// Errors:  throws UpdateFault when it is not.
void requireRightPackage(const std::filesystem::path& file, const UpdateOffer& offer, const PackageKey& key,
                         PackageSystem& packages, std::stop_token stop);

} // namespace fenlo
