#include "shell/home/GlossaryImport.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

using Terms = std::vector<std::string>;

} // namespace

TEST(Glossary, FormsAreReadByTheirExtension) {
    EXPECT_EQ(glossaryTerms("\xEF\xBB\xBF one term, really \r\n\r\nZweiter\rthird", "txt"),
              (Terms{"one term, really", "Zweiter", "third"}));
    EXPECT_EQ(glossaryTerms("a, b,,\n , c\r\n", "CSV"), (Terms{"a", "b", "c"}));
    EXPECT_EQ(glossaryTerms(R"(["Größe", "b"])", "json"), (Terms{"Größe", "b"}));
    EXPECT_EQ(glossaryTerms(R"({"terms": ["a"], "other": 1})", "JSON"), Terms{"a"});
    EXPECT_EQ(glossaryTerms("no extension", ""), Terms{"no extension"});
    EXPECT_EQ(glossaryText({2, 1}), "Added 2 new terms (1 duplicates skipped).");
}

TEST(Glossary, JsonOfAnotherFormHasNoTerms) {
    for (const char* text : {"", "[1]", R"(["a", 1])", R"({"terms": "a"})", R"({"a": []})", "\"a\"", "[\"a\"", "null"})
        EXPECT_EQ(glossaryTerms(text, "json"), Terms()) << text;
    EXPECT_EQ(glossaryTerms(std::string(300'000, '['), "json"), Terms()) << "deep";
    EXPECT_EQ(glossaryTerms(std::string(300'000, '[') + std::string(300'000, ']'), "json"), Terms()) << "and closed";
}
