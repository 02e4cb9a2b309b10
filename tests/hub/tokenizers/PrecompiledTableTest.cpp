// The table of replacements of SentencePiece, whole and hostile.

#include "hub/tokenizers/steps/PrecompiledTable.h"
#include "ReplacementTable.h"
#include "base/Base64.h"
#include "base/Json.h"
#include "base/Text.h"
#include "hub/tokenizers/Tokenizer.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <openssl/evp.h>
#include <random>

using namespace fenlo;
using namespace fenlo::hub;

namespace {

const std::string tableSource = "table.json";

PrecompiledTable tableOf(const std::string& bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    text.resize(static_cast<std::size_t>(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                                         reinterpret_cast<const unsigned char*>(bytes.data()),
                                                         static_cast<int>(bytes.size()))));
    const nlohmann::json settings = {{"precompiled_charsmap", text}};
    return PrecompiledTable::read(JsonNode(settings, "normalizer", tableSource));
}

AlignedText replacedBy(const PrecompiledTable& table, const std::string& text) {
    AlignedText aligned = AlignedText::tracked(text);
    table.apply(aligned);
    return aligned;
}

const test::ReplacementTable& smallTable() {
    static const test::ReplacementTable table({{"\uFB01", "fi"},
                                               {"e\u0301", "\u00E9"},
                                               {"e", "E"},
                                               {"\u1100\u1161", "\uAC00"},
                                               {"\u200B", ""},
                                               {"\r\n", "\n"},
                                               {"xy", "z"}});
    return table;
}

} // namespace

TEST(PrecompiledTable, LongestTextWithinACharacter_IsReplaced) {
    const PrecompiledTable table = tableOf(smallTable().bytes());
    const struct {
        std::string text;
        std::string replaced;
    } cases[] = {
        {"", ""},
        {"a\uFB01b", "afib"},
        {"ee\u0301e", "E\u00E9E"},
        {"e\u0301\u0302e\u0302\u0301", "\u00E9\u0302E\u0302\u0301"}, // marks that the table does not have stay
        {"\u1100\u1161\u11A8", "\uAC00\u11A8"},
        {"\u200B\u200B", ""},
        {"a\r\n\r\nb\nc\r", "a\n\nb\nc\r"},
        {"xy", "xy"}, // two characters
        {std::string("e\0e", 3), std::string("E\0E", 3)},
    };
    for (const auto& [text, replaced] : cases)
        EXPECT_EQ(replacedBy(table, text).text(), replaced) << text;
    const AlignedText ranges = replacedBy(table, "a\uFB01\u200B\u65E5");
    EXPECT_EQ(ranges.origin(1, 2), (TextRange{1, 4}));
    EXPECT_EQ(ranges.origin(2, 3), (TextRange{1, 4}));
    EXPECT_EQ(ranges.origin(3, 6), (TextRange{7, 10}));
    EXPECT_EQ(replacedBy(tableOf(""), "e\uFB01").text(), "e\uFB01");
    EXPECT_EQ(table.growth(), 3);
}

TEST(PrecompiledTable, WrongTables_AreRefused) {
    const std::string whole = smallTable().bytes();
    const auto withSize = [&](char lowest) {
        std::string bytes = whole;
        bytes[0] = lowest;
        return bytes;
    };
    for (const std::string& bytes : {std::string("abc"), std::string(4, '\0'), std::string("\x08\0\0\0abcd", 8),
                                     std::string("\xFF\xFF\xFF\xFF", 4) + whole, withSize('\x01'), whole + '\xFF'})
        EXPECT_THROW(tableOf(bytes), TokenizerError) << bytes.size();
    const nlohmann::json settings = {{"precompiled_charsmap", "?"}};
    EXPECT_THROW(PrecompiledTable::read(JsonNode(settings, "normalizer", tableSource)), TokenizerError);
}

// The sanitizers and the fuzz target see reads outside of the table.
TEST(PrecompiledTable, HostileTries_LeaveValidText) {
    const std::string whole = smallTable().bytes();
    const std::size_t texts = whole.size() - std::string_view("fi\0\u00E9\0E\0\uAC00\0\0\n\0z\0", 17).size();
    std::mt19937 random(11);
    int replacements = 0;
    for (int round = 0; round < 500; ++round) {
        std::string bytes = whole.substr(0, texts) + std::string("\u65E5\0ab", 6);
        for (std::size_t i = 4; i < texts; ++i)
            if (bytes[i] != 0 && random() % 16 == 0)
                bytes[i] = static_cast<char>(random());
        const std::string text = "e\u0301\uFB01 xy\r\n\u1100\u1161 \u65E5e";
        const std::string replaced = replacedBy(tableOf(bytes), text).text();
        EXPECT_EQ(text::repairUtf8(replaced), replaced);
        replacements += replaced != text;
    }
    EXPECT_GT(replacements, 250);
}
