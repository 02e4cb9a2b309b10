#include "hub/HubClient.h"

#include <algorithm>

namespace fenlo::hub {

namespace {

/// The size in bytes of the character of UTF-8 at the beginning; 1 for a broken one.
std::size_t characterSize(std::string_view text) {
    std::size_t size = 1;
    if (static_cast<unsigned char>(text.front()) >= 0xC0)
        while (size < text.size() && size < 4 && (static_cast<unsigned char>(text[size]) & 0xC0u) == 0x80)
            ++size;
    return size;
}

/// Where the set that begins the glob ends, behind its bracket; 0 when the bracket is never closed and stands for
/// itself. A bracket directly at the beginning of a set belongs to it.
std::size_t setEnd(std::string_view glob) {
    const std::size_t first = glob.starts_with("[!") ? 2 : 1;
    const std::size_t end = glob.find(']', first + 1);
    return end == std::string_view::npos ? 0 : end + 1;
}

/// `set` is the inside of the brackets. The bytes of UTF-8 are in the order of the characters.
bool isInSet(std::string_view character, std::string_view set) {
    const bool isNegated = set.starts_with('!');
    if (isNegated)
        set.remove_prefix(1);
    bool isFound = false;
    while (!set.empty()) {
        const std::string_view low = set.substr(0, characterSize(set));
        set.remove_prefix(low.size());
        std::string_view high = low;
        if (set.size() > 1 && set.front() == '-') {
            high = set.substr(1, characterSize(set.substr(1)));
            set.remove_prefix(1 + high.size());
        }
        isFound = isFound || (low <= character && character <= high);
    }
    return isFound != isNegated;
}

/// How many bytes of the glob, at its beginning and no star, stand for this character; 0 when they do not.
std::size_t matchOne(std::string_view character, std::string_view glob) {
    if (glob.empty())
        return 0;
    if (glob.front() == '?')
        return 1;
    if (const std::size_t end = glob.front() == '[' ? setEnd(glob) : 0; end > 0)
        return isInSet(character, glob.substr(1, end - 2)) ? end : 0;
    return glob.starts_with(character) ? character.size() : 0;
}

/// Each `*` first matches nothing and takes in more when the rest does not fit. Only the last one ever needs to grow,
/// so the time is at most the length of the path times that of the pattern.
bool matchesWhole(std::string_view path, std::string_view glob) {
    std::size_t at = 0;
    std::size_t in = 0;
    std::size_t star = std::string_view::npos;
    std::size_t starEnd = 0; // where the text that the star stands for ends
    while (at < path.size()) {
        const std::string_view character = path.substr(at, characterSize(path.substr(at)));
        if (in < glob.size() && glob[in] == '*') {
            star = in++;
            starEnd = at;
        } else if (const std::size_t taken = matchOne(character, glob.substr(in)); taken > 0) {
            in += taken;
            at += character.size();
        } else if (star != std::string_view::npos) {
            in = star + 1;
            starEnd += characterSize(path.substr(starEnd));
            at = starEnd;
        } else {
            return false;
        }
    }
    return glob.find_first_not_of('*', in) == std::string_view::npos;
}

} // namespace

bool matchesGlob(std::string_view path, std::string_view glob) {
    return glob.ends_with('/') ? matchesWhole(path, std::string(glob) + "*") : matchesWhole(path, glob);
}

std::string literalGlob(std::string_view text) {
    std::string glob;
    for (const char c : text)
        if (c == '*' || c == '?' || c == '[')
            glob += {'[', c, ']'};
        else
            glob += c;
    return glob;
}

bool FilePatterns::match(const std::string& path) const {
    const auto matches = [&](const std::string& glob) { return matchesGlob(path, glob); };
    return (allow.empty() || std::ranges::any_of(allow, matches)) && std::ranges::none_of(ignore, matches);
}

} // namespace fenlo::hub
