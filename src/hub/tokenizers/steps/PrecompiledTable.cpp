#include "hub/tokenizers/steps/PrecompiledTable.h"

#include "base/Base64.h"
#include "base/Text.h"
#include "hub/tokenizers/steps/Characters.h"

#include <algorithm>

namespace fenlo::hub {

namespace {

std::uint32_t littleEndian(std::string_view bytes, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t i = 4; i > 0; --i)
        number = number << 8U | static_cast<unsigned char>(bytes[at + i - 1]);
    return number;
}

// The parts of a unit.
bool hasEnd(std::uint32_t unit) {
    return (unit >> 8U & 1U) != 0;
}
std::uint32_t placeIn(std::uint32_t unit) {
    return unit & 0x7FFFFFFFU;
}
/// With the highest bit, which marks the end of a text and no byte has.
std::uint32_t labelOf(std::uint32_t unit) {
    return unit & 0x800000FFU;
}
std::uint32_t distanceOf(std::uint32_t unit) {
    return unit >> 10U << ((unit & 0x200U) >> 6U);
}

bool isWithinCharacter(std::string_view text, std::size_t at) {
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80;
}

bool isAscii(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

/// Where a stretch ends that begins at `begin`: at the end, or between two characters of ASCII. Those never belong
/// together but as the end of a line.
std::size_t stretchEnd(std::string_view text, std::size_t begin) {
    for (std::size_t at = begin + 1; at < text.size(); ++at)
        if (isAscii(text[at - 1]) && isAscii(text[at]) && text[at] != '\n')
            return at;
    return text.size();
}

} // namespace

PrecompiledTable PrecompiledTable::read(const JsonNode& node) {
    const JsonNode member = node.member("precompiled_charsmap");
    const std::optional<std::string> bytes = decodeBase64(member.string());
    if (!bytes)
        member.fail("is no Base64");
    PrecompiledTable table;
    if (bytes->empty()) // a table of nothing
        return table;
    const std::size_t size = bytes->size() < 4 ? 0 : littleEndian(*bytes, 0);
    if (size == 0 || size % 4 != 0 || size > bytes->size() - 4)
        member.fail("is no table of replacements");
    table.m_trie.reserve(size / 4);
    for (std::size_t at = 4; at < 4 + size; at += 4)
        table.m_trie.push_back(littleEndian(*bytes, at));
    table.m_replacements = bytes->substr(4 + size);
    if (text::repairUtf8(table.m_replacements) != table.m_replacements)
        member.fail("has replacements that are not UTF-8");
    return table;
}

double PrecompiledTable::growth() const {
    std::size_t longest = 1;
    for (std::size_t begin = 0; begin < m_replacements.size();) {
        const std::size_t end = std::min(m_replacements.find('\0', begin), m_replacements.size());
        longest = std::max(longest, end - begin);
        begin = end + 1;
    }
    return static_cast<double>(longest);
}

void PrecompiledTable::apply(AlignedText& text) const {
    if (m_trie.empty())
        return;
    AlignedTextWriter writer(text);
    const std::string_view old = writer.oldText();
    for (std::size_t begin = 0; begin < old.size();) {
        const std::size_t end = stretchEnd(old, begin);
        if (end == begin + 1) {
            replaceWithin({begin, end}, writer);
            begin = end;
            continue;
        }
        for (const std::string_view character : text::characters(old.substr(begin, end - begin))) {
            replaceWithin({begin, begin + character.size()}, writer);
            begin += character.size();
        }
    }
    writer.finish();
}

void PrecompiledTable::replaceWithin(const TextRange& character, AlignedTextWriter& writer) const {
    const std::string_view old = std::string_view(writer.oldText()).substr(0, character.end);
    for (std::size_t at = character.begin; at < character.end;) {
        const std::optional<Match> match = longestMatch(old.substr(at));
        if (!match) {
            takeAt(old, at);
            continue;
        }
        writer.keep(at);
        at += match->size;
        writer.replace(at, match->replacement);
    }
}

std::optional<PrecompiledTable::Match> PrecompiledTable::longestMatch(std::string_view text) const {
    std::optional<Match> longest;
    std::size_t node = distanceOf(m_trie[0]);
    for (std::size_t i = 0; i < text.size() && text[i] != '\0'; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        node ^= byte;
        if (node >= m_trie.size() || labelOf(m_trie[node]) != byte)
            break;
        const bool isEnd = hasEnd(m_trie[node]);
        node ^= distanceOf(m_trie[node]);
        if (isEnd && node < m_trie.size() && !isWithinCharacter(text, i + 1))
            if (const std::optional<std::string_view> replacement = replacementAt(placeIn(m_trie[node])))
                longest = {i + 1, *replacement};
    }
    return longest;
}

std::optional<std::string_view> PrecompiledTable::replacementAt(std::size_t place) const {
    if (place >= m_replacements.size())
        return std::nullopt;
    if (isWithinCharacter(m_replacements, place))
        return std::nullopt;
    const std::string_view rest = std::string_view(m_replacements).substr(place);
    return rest.substr(0, rest.find('\0'));
}

} // namespace fenlo::hub
