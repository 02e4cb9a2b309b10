#include "base/SearchKey.h"

#include <gtest/gtest.h>

using fenlo::text::searchKey;

TEST(SearchKey, LeavesLettersOnly_AsTheReadersOfAScriptSeeThem) {
    const std::pair<const char*, const char*> same[] = {
        {"Crème BRÛLÉE", "creme brulee"},
        {"İSTANBUL ılık", "istanbul ilik"},
        {"Straße", "STRASSE"},
        {"ΣΊΣΥΦΟΣ", "σισυφος"},
        {"ｆｕｌｌ ①", "Full 1"},
        {"e\xCC\x81t\xC3\xA9", "ETE"},
        {"مُحَمَّد", "محمد"},
        {"שָׁלוֹם", "שלום"},
        {"soft\xC2\xADhyphen", "softhyphen"},
        {"Ёлка й", "ёлка Й"},
    };
    for (const auto& [one, other] : same)
        EXPECT_EQ(searchKey(one), searchKey(other)) << one;
    const std::pair<const char*, const char*> different[] = {{"कल", "कुल"}, {"か", "が"}, {"o", "ø"}};
    for (const auto& [one, other] : different)
        EXPECT_NE(searchKey(one), searchKey(other)) << one;
    EXPECT_EQ(searchKey("\xFF Ä"), searchKey("\uFFFD a"));
}
