#include "hub/tokenizers/steps/Characters.h"

#include <cstdint>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace fenlo::hub {

namespace {

/// The code point as ICU takes it.
UChar32 asIcu(char32_t c) {
    return static_cast<UChar32>(c);
}

} // namespace

char32_t takeAt(std::string_view text, std::size_t& at) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    UChar32 c = 0;
    U8_NEXT_OR_FFFD(bytes, at, text.size(), c);
    return static_cast<char32_t>(c);
}

char32_t takeBefore(std::string_view text, std::size_t& at) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    UChar32 c = 0;
    auto offset = static_cast<int32_t>(at);
    U8_PREV_OR_FFFD(bytes, 0, offset, c);
    at = static_cast<std::size_t>(offset);
    return static_cast<char32_t>(c);
}

bool isBlank(char32_t c) {
    return u_isUWhiteSpace(asIcu(c)) != 0;
}

bool isWordCharacter(char32_t c) {
    constexpr uint32_t kinds = U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK;
    return u_isUAlphabetic(asIcu(c)) || (U_GET_GC_MASK(asIcu(c)) & kinds) != 0 ||
           u_hasBinaryProperty(asIcu(c), UCHAR_JOIN_CONTROL);
}

bool isPunctuation(char32_t c) {
    constexpr std::string_view signs = "$+<=>^`|~";
    return (c < 0x80 && signs.find(static_cast<char>(c)) != std::string_view::npos) || u_ispunct(asIcu(c));
}

bool isNumber(char32_t c) {
    return (U_GET_GC_MASK(asIcu(c)) & U_GC_N_MASK) != 0;
}

std::size_t blanksEnd(std::string_view text, std::size_t begin) {
    while (begin < text.size()) {
        std::size_t next = begin;
        if (!isBlank(takeAt(text, next)))
            break;
        begin = next;
    }
    return begin;
}

std::size_t blanksBegin(std::string_view text, std::size_t end) {
    while (end > 0) {
        std::size_t previous = end;
        if (!isBlank(takeBefore(text, previous)))
            break;
        end = previous;
    }
    return end;
}

bool isWordAt(std::string_view text, std::size_t begin) {
    return begin < text.size() && isWordCharacter(takeAt(text, begin));
}

bool isWordBefore(std::string_view text, std::size_t end) {
    return end > 0 && isWordCharacter(takeBefore(text, end));
}

} // namespace fenlo::hub
