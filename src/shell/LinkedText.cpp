#include "shell/LinkedText.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace fenlo {

namespace {

constexpr std::array<std::string_view, 2> schemes{"https://", "http://"};

/// Characters that end an address.
constexpr std::array<std::string_view, 15> breaks{" ",  "\t", "\n", "\r",     "\v",     "\f",     "<",     ">",
                                                  "\"", "`",  "|",  "\u00A0", "\u2028", "\u2029", "\u3000"};

constexpr std::array<std::string_view, 18> trailing{".",      ",",      ";",      ":",      "!",      "?",
                                                    "'",      "*",      "_",      "\u2019", "\u201D", "\u2026",
                                                    "\u3002", "\uFF0C", "\u3001", "\uFF01", "\uFF1F", "\uFF09"};

/// The length of the scheme that begins at `at`, or 0. A scheme in the middle of a word does not count.
std::size_t schemeLength(std::string_view text, std::size_t at) {
    if (at > 0 && std::isalnum(static_cast<unsigned char>(text[at - 1])))
        return 0;
    const auto sameLetter = [](unsigned char a, unsigned char b) { return std::tolower(a) == b; };
    for (const std::string_view scheme : schemes) {
        const std::string_view start = text.substr(at, scheme.size());
        if (std::equal(start.begin(), start.end(), scheme.begin(), scheme.end(), sameLetter))
            return scheme.size();
    }
    return 0;
}

bool startsWithAny(std::string_view text, const auto& list) {
    return std::any_of(list.begin(), list.end(), [text](std::string_view piece) { return text.starts_with(piece); });
}

/// Drops a closing bracket that has no opening one within the address.
bool dropUnmatchedBracket(std::string_view& address) {
    constexpr std::array<std::string_view, 3> pairs{"()", "[]", "{}"};
    for (const std::string_view pair : pairs) {
        if (!address.ends_with(pair[1]))
            continue;
        if (std::count(address.begin(), address.end(), pair[1]) <= std::count(address.begin(), address.end(), pair[0]))
            return false;
        address.remove_suffix(1);
        return true;
    }
    return false;
}

bool dropPunctuation(std::string_view& address) {
    for (const std::string_view mark : trailing) {
        if (!address.ends_with(mark))
            continue;
        address.remove_suffix(mark.size());
        return true;
    }
    return false;
}

/// The length of the address that begins at `at`, or 0.
std::size_t addressLength(std::string_view text, std::size_t at) {
    const std::size_t scheme = schemeLength(text, at);
    if (scheme == 0)
        return 0;
    std::size_t end = at + scheme;
    while (end < text.size() && !startsWithAny(text.substr(end), breaks))
        ++end;
    std::string_view address = text.substr(at, end - at);
    while (dropPunctuation(address) || dropUnmatchedBracket(address)) {
    }
    return address.size() > scheme ? address.size() : 0;
}

} // namespace

std::vector<TextPart> splitLinks(const std::string& text) {
    std::vector<TextPart> parts;
    std::size_t plainStart = 0;
    const auto addPlain = [&](std::size_t end) {
        if (end > plainStart)
            parts.push_back({TextPart::Kind::plain, text.substr(plainStart, end - plainStart)});
    };
    for (std::size_t at = text.find_first_of("hH"); at != std::string::npos; at = text.find_first_of("hH", at)) {
        const std::size_t length = addressLength(text, at);
        if (length == 0) {
            ++at;
            continue;
        }
        addPlain(at);
        parts.push_back({TextPart::Kind::link, text.substr(at, length)});
        at += length;
        plainStart = at;
    }
    addPlain(text.size());
    return parts;
}

} // namespace fenlo
