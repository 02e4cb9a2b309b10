#pragma once

#include <algorithm>
#include <vector>

namespace fenlo::clipboard {

inline constexpr std::size_t mostBytes = 64UL * 1024 * 1024; // of all kept forms together

/// The hint on which clipboard managers agreed for texts they shall not keep, and what it says.
inline constexpr const char* secretName = "x-kde-passwordManagerHint";
inline constexpr const char* secretValue = "secret";

/// Forms that even an owner without an answer in time is asked for.
inline constexpr const char* usualNames[] = {"image/png", "text/html", "text/uri-list", "x-special/gnome-copied-files",
                                             secretName};

/// Targets that hold no content, that change something, or whose content is useless without their owner; and the other
/// names of plain text.
inline constexpr const char* otherNames[] = {
    "TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS",  "DELETE", "INSERT_SELECTION", "INSERT_PROPERTY", "PIXMAP",
    "BITMAP",  "DRAWABLE", "COLORMAP",  "CLIENT_WINDOW", "TEXT",   "COMPOUND_TEXT"};

template <typename Name>
bool contains(const std::vector<Name>& names, const Name& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// The offered forms that are worth keeping, the usual ones first, without those in the last two lists.
template <typename Name>
std::vector<Name> worthKeeping(const std::vector<Name>& offered, std::vector<Name> usual,
                               const std::vector<Name>& texts, const std::vector<Name>& others) {
    std::erase_if(usual, [&](const Name& each) { return !contains(offered, each); });
    for (const Name& each : offered)
        if (!contains(texts, each) && !contains(others, each) && !contains(usual, each))
            usual.push_back(each);
    return usual;
}

} // namespace fenlo::clipboard
