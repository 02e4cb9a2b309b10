#include "base/Json.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace fenlo;

TEST(Json, OrderedMembersKeepTheirPlaces) {
    const auto value = parseOrderedJson(
        R"({"z": [1, -2, 1.5, true, null, {}], "a": {"y": "\u00e4", "b": []}, "z2": 18446744073709551615,
        "a": {"again": 1}})");
    EXPECT_EQ(writeJson(value), R"({"z":[1,-2,1.5,true,null,{}],"a":{"again":1},"z2":18446744073709551615})");
    EXPECT_EQ(parseOrderedJson("7"), 7);
    for (const char* broken : {"", "{", "[1,]", "{\"a\" 1}", "1 2", "nul"})
        EXPECT_TRUE(parseOrderedJson(broken).is_discarded()) << broken;
}

TEST(Json, AnObjectOfManyMembersIsReadInLinearTime) {
    std::string text = "{\"k\": 0";
    for (int i = 0; i < 100'000; ++i) // a search among all members for each takes a hundred times as long
        text += ",\"k" + std::to_string(i) + "\":" + std::to_string(i);
    EXPECT_EQ(parseOrderedJson(text + "}").size(), 100'001U);
}

TEST(Json, QuotesForErrors) {
    EXPECT_EQ(inQuotes("a\"\n\u00e4"), R"("a\"\n\u00e4")");
    EXPECT_EQ(inQuotes(std::string(100, 'x')), '"' + std::string(60, 'x') + '"');
}
