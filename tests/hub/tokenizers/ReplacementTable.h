#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub::test {

/// Builds the table of the normalizer "Precompiled" from texts and what each of them becomes.
class ReplacementTable {
public:
    explicit ReplacementTable(const std::map<std::string, std::string>& replacements) {
        std::map<std::string, std::uint32_t> places;
        for (const auto& [text, replacement] : replacements) {
            places[text] = static_cast<std::uint32_t>(m_texts.size());
            m_texts += replacement + '\0';
        }
        m_units.resize(blockSize);
        addChildren(0, places);
    }

    /// The size, the trie and the texts.
    std::string bytes() const {
        std::string out = littleEndian(static_cast<std::uint32_t>(4 * m_units.size()));
        for (const std::uint32_t unit : m_units)
            out += littleEndian(unit);
        return out + m_texts;
    }

private:
    using Places = std::map<std::string, std::uint32_t>;
    static constexpr std::size_t blockSize = 256; // a unit for each byte

    static std::string littleEndian(std::uint32_t number) {
        std::string bytes;
        for (int i = 0; i < 4; ++i, number >>= 8U)
            bytes += static_cast<char>(number & 0xFFU);
        return bytes;
    }

    /// `texts` are what is left of the texts that lead to the node. Each node has a block of units for its children.
    void addChildren(std::size_t node, const Places& texts) {
        const std::size_t block = m_units.size();
        m_units.resize(block + blockSize);
        m_units[node] |= static_cast<std::uint32_t>((block ^ node) << 10U);
        std::map<unsigned char, Places> children;
        for (const auto& [text, place] : texts) {
            if (!text.empty()) {
                children[static_cast<unsigned char>(text[0])][text.substr(1)] = place;
                continue;
            }
            m_units[node] |= 0x100U;
            m_units[block] = 0x80000000U | place;
        }
        for (const auto& [byte, rest] : children) {
            m_units[block ^ byte] |= byte;
            addChildren(block ^ byte, rest);
        }
    }

    std::vector<std::uint32_t> m_units;
    std::string m_texts;
};

} // namespace fenlo::hub::test
