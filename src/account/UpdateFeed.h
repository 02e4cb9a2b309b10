#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

/// A file of a release, as the feed names it. Nothing here is checked.
struct FeedEnclosure {
    std::string url;
    std::string system;       // "linux", or empty for any
    std::string signature;    // in Base64
    std::uint64_t length = 0; // bytes; 0 when the feed gives none
};

/// A release in the feed.
struct FeedItem {
    std::string version; // may be any text
    std::string channel; // empty for the one that everybody gets
    std::string notes;   // what is new, as plain text
    std::vector<FeedEnclosure> enclosures;
};

/// The longest feed that is read, in bytes.
inline constexpr std::size_t longestFeed = 1u << 20u;

/// Reads an appcast: an RSS feed whose items have a version, notes and signed files.
///
/// Errors: nothing for any other text, and for one that is too long, too deep, names too many releases, or has a
///         document type: no entity is ever defined or loaded.
std::optional<std::vector<FeedItem>> parseFeed(std::string_view xml);

} // namespace fenlo
