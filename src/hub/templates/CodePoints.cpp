#include "hub/templates/CodePoints.h"

#include <algorithm>
#include <cstring>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace fenlo::hub::templates {

namespace {

template <typename Drops>
std::string_view stripWhere(std::string_view text, Ends ends, Drops drops) {
    std::size_t begin = 0;
    for (std::size_t next = 0; ends != Ends::right && begin < text.size(); begin = next)
        if (!drops(takeCodePoint(text, next)))
            break;
    std::size_t end = text.size();
    while (ends != Ends::left && end > begin) {
        std::size_t previous = end;
        U8_BACK_1(reinterpret_cast<const uint8_t*>(text.data()), begin, previous);
        std::size_t at = previous;
        if (!drops(takeCodePoint(text, at)))
            break;
        end = previous;
    }
    return text.substr(begin, end - begin);
}

} // namespace

char32_t takeCodePoint(std::string_view utf8, std::size_t& at) {
    UChar32 codePoint = 0;
    U8_NEXT_OR_FFFD(reinterpret_cast<const uint8_t*>(utf8.data()), at, utf8.size(), codePoint);
    return static_cast<char32_t>(codePoint);
}

void appendCodePoint(std::string& out, char32_t codePoint) {
    if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
        codePoint = 0xFFFD;
    char bytes[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, codePoint);
    out.append(bytes, length);
}

bool isSpace(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || (c >= 0x1C && c <= 0x20) || c == 0x85 || c == 0x2028 || c == 0x2029 ||
           (c > 0x7F && u_charType(static_cast<UChar32>(c)) == U_SPACE_SEPARATOR);
}

bool isPrintable(char32_t c) {
    constexpr unsigned hidden = U_GC_C_MASK | U_GC_Z_MASK;
    return c == ' ' || (U_GET_GC_MASK(static_cast<UChar32>(c)) & hidden) == 0;
}

std::string_view strip(std::string_view text, Ends ends) {
    return stripWhere(text, ends, isSpace);
}

std::string_view strip(std::string_view text, Ends ends, std::string_view characters) {
    std::u32string dropped;
    for (std::size_t at = 0; at < characters.size();)
        dropped += takeCodePoint(characters, at);
    std::ranges::sort(dropped);
    return stripWhere(text, ends, [&](char32_t c) { return std::ranges::binary_search(dropped, c); });
}

std::size_t findFirst(std::string_view text, std::string_view what, std::size_t from) {
    constexpr std::size_t shortPattern = 32; // bytes; find() is quadratic at worst
    if (what.size() <= shortPattern)
        return text.find(what, from);
    text = text.substr(from);
    const void* found = memmem(text.data(), text.size(), what.data(), what.size());
    return found ? from + static_cast<std::size_t>(static_cast<const char*>(found) - text.data())
                 : std::string_view::npos;
}

std::size_t findLast(std::string_view text, std::string_view what) {
    const std::string reversedText(text.rbegin(), text.rend());
    const std::string reversedWhat(what.rbegin(), what.rend());
    const std::size_t found = findFirst(reversedText, reversedWhat);
    return found == std::string::npos ? found : text.size() - found - what.size();
}

} // namespace fenlo::hub::templates
