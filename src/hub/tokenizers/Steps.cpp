#include "hub/tokenizers/Steps.h"

#include "hub/tokenizers/Pattern.h"

#include <cstdint>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <utility>

namespace fenlo::hub {

namespace {

constexpr std::size_t maximumSteps = 64;
constexpr std::size_t longestText = 256; // bytes
constexpr int maximumGrowth = 256;

UChar32 characterAt(std::string_view text, std::size_t& at) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    UChar32 c = 0;
    U8_NEXT(bytes, at, text.size(), c);
    return c;
}

UChar32 characterBefore(std::string_view text, std::size_t& at) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    UChar32 c = 0;
    auto offset = static_cast<int32_t>(at);
    U8_PREV(bytes, 0, offset, c);
    at = static_cast<std::size_t>(offset);
    return c;
}

/// As \w has it.
bool isWordCharacter(UChar32 c) {
    constexpr uint32_t kinds = U_GC_M_MASK | U_GC_ND_MASK | U_GC_PC_MASK;
    return u_isUAlphabetic(c) || (U_GET_GC_MASK(c) & kinds) != 0 || u_hasBinaryProperty(c, UCHAR_JOIN_CONTROL);
}

} // namespace

void requireRoomForStep(const JsonNode& node, std::size_t stepsSoFar) {
    if (stepsSoFar >= maximumSteps)
        node.refuse("is one step too many, after " + std::to_string(stepsSoFar));
}

std::string shortText(const JsonNode& node) {
    std::string text = node.string();
    if (text.size() > longestText)
        node.refuse("is longer than " + std::to_string(longestText) + " bytes");
    return text;
}

std::function<std::string(const std::string&)> readReplacement(const JsonNode& node, double& growth) {
    Pattern pattern = Pattern::read(node.member("pattern"));
    std::string content = shortText(node.member("content"));
    growth *= pattern.growth(content);
    if (growth > maximumGrowth)
        node.refuse("can make text more than " + std::to_string(maximumGrowth) + " times longer");
    return [pattern = std::move(pattern), content = std::move(content)](const std::string& text) {
        return pattern.replace(text, content);
    };
}

std::size_t blanksEnd(std::string_view text, std::size_t begin) {
    while (begin < text.size()) {
        std::size_t next = begin;
        if (!u_isUWhiteSpace(characterAt(text, next)))
            break;
        begin = next;
    }
    return begin;
}

std::size_t blanksBegin(std::string_view text, std::size_t end) {
    while (end > 0) {
        std::size_t previous = end;
        if (!u_isUWhiteSpace(characterBefore(text, previous)))
            break;
        end = previous;
    }
    return end;
}

bool isWordAt(std::string_view text, std::size_t begin) {
    return begin < text.size() && isWordCharacter(characterAt(text, begin));
}

bool isWordBefore(std::string_view text, std::size_t end) {
    return end > 0 && isWordCharacter(characterBefore(text, end));
}

} // namespace fenlo::hub
