// Post-processors, truncation, padding and batches: what is done with the tokens of whole texts.

#include "SmallTokenizer.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::hub;
using namespace fenlo::hub::test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Letters a to h, blanks with letters, and special tokens; every letter is a token, words end at blanks.
json letterFile() {
    json file = smallFile({"a", "b", "c", "d", "e", "f", "g", "h", "[CLS]", "[SEP]", "[PAD]", "[X]"});
    file["pre_tokenizer"] = {{"type", "WhitespaceSplit"}};
    for (const auto& [id, content] : {std::pair(8, "[CLS]"), {9, "[SEP]"}, {10, "[PAD]"}, {11, "[X]"}})
        file["added_tokens"].push_back({{"id", id}, {"content", content}, {"special", true}});
    return file;
}

const json bert = {{"type", "BertProcessing"}, {"sep", {"[SEP]", 9}}, {"cls", {"[CLS]", 8}}};

json templateOf(const std::string& single, const std::string& pair) {
    json specials = {{"[CLS]", {{"id", "[CLS]"}, {"ids", {8}}, {"tokens", {"[CLS]"}}}},
                     {"[TWO]", {{"id", "[TWO]"}, {"ids", {9, 11}}, {"tokens", {"[SEP]", "[X]"}}}}};
    return {{"type", "TemplateProcessing"},
            {"single", parseJson(single)},
            {"pair", parseJson(pair)},
            {"special_tokens", specials}};
}

const std::string justA = R"([{"Sequence": {"id": "A", "type_id": 0}}])";
const std::string justBoth = R"([{"Sequence": {"id": "A", "type_id": 0}}, {"Sequence": {"id": "B", "type_id": 1}}])";

Tokenizer withProcessor(const json& processor) {
    json file = letterFile();
    file["post_processor"] = processor;
    return parsed(file);
}

/// The tokens' texts one after the other, without brackets.
std::string textOf(const Tokenizer& tokenizer, const Encoding& encoding) {
    std::string text;
    for (const EncodedToken& token : encoding.tokens) {
        const std::string piece = tokenizer.idToToken(token.id).value();
        text += piece.starts_with('[') ? piece.substr(1, 1) : piece;
    }
    return text;
}

std::vector<std::string> partsOf(const Tokenizer& tokenizer, const Encoding& encoding) {
    std::vector<std::string> parts{textOf(tokenizer, encoding)};
    for (const Encoding& part : encoding.overflow)
        parts.push_back(textOf(tokenizer, part));
    return parts;
}

/// A digit for each token; a minus for -1.
std::string digitsOf(const Encoding& encoding, int EncodedToken::*field) {
    std::string digits;
    for (const EncodedToken& token : encoding.tokens)
        digits += token.*field < 0 ? "-" : std::to_string(token.*field);
    return digits;
}

std::string faultOf(const std::function<void()>& act) {
    try {
        act();
    } catch (const TokenizerError& error) {
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        return error.what();
    }
    return "no error";
}

std::vector<std::string> cutTo(const Tokenizer& tokenizer, const TextInput& input, const Truncation& truncation) {
    return partsOf(tokenizer, tokenizer.encoding(input, {.truncation = truncation}));
}

} // namespace

TEST(PostProcessor, Bert_PutsSpecialTokensAroundATextAndAPair) {
    const Tokenizer tokenizer = withProcessor(bert);
    EXPECT_EQ(tokenizer.addedTokens(false), 2u);
    EXPECT_EQ(tokenizer.addedTokens(true), 3u);
    const Encoding single = tokenizer.encoding("ab c");
    EXPECT_EQ(textOf(tokenizer, single), "CabcS");
    EXPECT_EQ(single.tokens.front(), (EncodedToken{8, {0, 0}, -1, 0, -1, true, false}));
    EXPECT_EQ(single.tokens[3], (EncodedToken{2, {3, 4}, 1, 0, 0, false, false}));

    const Encoding pair = tokenizer.encoding({"ab c", "d[X]"}, tokenizer.options());
    EXPECT_EQ(textOf(tokenizer, pair), "CabcSdXS");
    EXPECT_EQ(digitsOf(pair, &EncodedToken::typeId), "00000111");
    EXPECT_EQ(digitsOf(pair, &EncodedToken::sequence), "-000-11-");
    EXPECT_EQ(digitsOf(pair, &EncodedToken::word), "-001-01-");
    EXPECT_EQ(pair.tokens[6].range, (TextRange{1, 4}));
    EXPECT_TRUE(pair.tokens[6].isSpecial && !pair.tokens[5].isSpecial);

    const Encoding bare = tokenizer.encoding({"ab c", "d"}, {.addsSpecialTokens = false});
    EXPECT_EQ(textOf(tokenizer, bare), "abcd");
    EXPECT_EQ(digitsOf(bare, &EncodedToken::typeId), "0001");
    EXPECT_EQ(textOf(tokenizer, tokenizer.encoding("")), "CS");
    EXPECT_EQ(tokenizer.encode("ab c"), (std::vector{0, 1, 2})) << "the text alone";
}

TEST(PostProcessor, Roberta_IsOfOneTypeAndSeparatesTwice) {
    const Tokenizer tokenizer =
        withProcessor({{"type", "RobertaProcessing"}, {"sep", {"[SEP]", 9}}, {"cls", {"[CLS]", 8}}});
    const Encoding pair = tokenizer.encoding({"ab", "c"}, tokenizer.options());
    EXPECT_EQ(textOf(tokenizer, pair), "CabSScS");
    EXPECT_EQ(digitsOf(pair, &EncodedToken::typeId), "0000000");
    EXPECT_EQ(digitsOf(pair, &EncodedToken::sequence), "-00--1-");
}

TEST(PostProcessor, ATemplateGivesAnyOrderTypesAndSeveralIds) {
    const Tokenizer tokenizer = withProcessor(
        templateOf(R"([{"SpecialToken": {"id": "[TWO]", "type_id": 5}}, {"Sequence": {"id": "A", "type_id": 3}}])",
                   R"([{"Sequence": {"id": "B", "type_id": 2}}, {"SpecialToken": {"id": "[CLS]", "type_id": 4}},
            {"Sequence": {"id": "A", "type_id": 1}}])"));
    const Encoding single = tokenizer.encoding("ab");
    EXPECT_EQ(textOf(tokenizer, single), "SXab");
    EXPECT_EQ(digitsOf(single, &EncodedToken::typeId), "5533");
    const Encoding pair = tokenizer.encoding({"ab", "cd"}, tokenizer.options());
    EXPECT_EQ(textOf(tokenizer, pair), "cdCab");
    EXPECT_EQ(digitsOf(pair, &EncodedToken::typeId), "22411");
    EXPECT_EQ(digitsOf(pair, &EncodedToken::sequence), "11-00");
    const Encoding bare = tokenizer.encoding({"ab", "cd"}, {.addsSpecialTokens = false});
    EXPECT_EQ(digitsOf(bare, &EncodedToken::typeId), "2211");
}

TEST(PostProcessor, RangesAreTrimmedWhereTheFileAsksForIt) {
    json file = smallFile({"a", "\u0120", "\u0120a", "\u010A", "<s>"}, json::array({{"\u0120", "a"}}));
    file["added_tokens"] = {{{"id", 4}, {"content", "<s>"}, {"special", true}}};
    file["pre_tokenizer"] = {{"type", "ByteLevel"}, {"add_prefix_space", true}};
    file["post_processor"] = {
        {"type", "Sequence"},
        {"processors",
         {{{"type", "ByteLevel"}, {"trim_offsets", true}, {"add_prefix_space", true}, {"use_regex", true}},
          {{"type", "TemplateProcessing"},
           {"single", parseJson(R"([{"SpecialToken": {"id": "<s>", "type_id": 0}},
                                    {"Sequence": {"id": "A", "type_id": 0}}])")},
           {"pair", parseJson(justBoth)},
           {"special_tokens", {{"<s>", {{"id", "<s>"}, {"ids", {4}}, {"tokens", {"<s>"}}}}}}}}}};
    const auto rangesIn = [&](const std::string& text) {
        std::vector<std::pair<std::size_t, std::size_t>> ranges;
        for (const EncodedToken& token : parsed(file).encoding(text).tokens)
            ranges.emplace_back(token.range.begin, token.range.end);
        return ranges;
    };
    using Ranges = std::vector<std::pair<std::size_t, std::size_t>>;
    EXPECT_EQ(rangesIn("a  a\n"), (Ranges{{0, 0}, {0, 1}, {2, 2}, {3, 4}, {4, 5}}));
    file["post_processor"]["processors"][0]["trim_offsets"] = false;
    EXPECT_EQ(rangesIn("a  a\n"), (Ranges{{0, 0}, {0, 1}, {1, 2}, {2, 4}, {4, 5}}));
}

TEST(PostProcessor, WhatChangesItsMeaningIsRefusedByName) {
    const auto fault = [](const json& processor) { return faultOf([&] { withProcessor(processor); }); };
    EXPECT_THAT(fault({{"type", "Surprise"}}), HasSubstr("post_processor is of the unknown type \"Surprise\""));
    json wrong = bert;
    wrong["sep"] = {"[SEP]", 77};
    EXPECT_THAT(fault(wrong), HasSubstr("post_processor.sep[1] is no id of the vocabulary"));
    wrong["sep"] = {"[SEP]"};
    EXPECT_THAT(fault(wrong), HasSubstr("is no token with its id"));
    EXPECT_THAT(fault({{"type", "Sequence"}, {"processors", {bert, bert}}}),
                HasSubstr("processors[1] adds special tokens a second time"));
    for (const char* single : {"[]", R"([{"Sequence": {"id": "B", "type_id": 0}}])",
                               R"([{"Sequence": {"id": "A", "type_id": 0}}, {"Sequence": {"id": "A", "type_id": 0}}])"})
        EXPECT_THAT(fault(templateOf(single, justBoth)), HasSubstr("post_processor.single does not have sequence"));
    EXPECT_THAT(fault(templateOf(justA, justA)), HasSubstr("post_processor.pair does not have sequence B"));
    EXPECT_THAT(fault(templateOf(R"([{"SpecialToken": {"id": "[NONE]", "type_id": 0}}])", justBoth)),
                HasSubstr("special_tokens.[NONE]"));
}

TEST(Truncation, StrategiesKeepRoomForSpecialTokens) {
    using Strategy = Truncation::Strategy;
    const Tokenizer tokenizer = withProcessor(bert);
    struct Case {
        Strategy strategy;
        std::size_t length;
        std::string first, second, expected;
    };
    for (const Case& test : {Case{Strategy::longestFirst, 8, "abcdef", "gh", "CabcSghS"},
                             Case{Strategy::longestFirst, 8, "ab", "cdefgh", "CabScdeS"},
                             Case{Strategy::longestFirst, 8, "abcd", "efgh", "CabSefgS"},
                             Case{Strategy::longestFirst, 8, "abcde", "efgh", "CabcSefS"},
                             Case{Strategy::longestFirst, 4, "abcd", "efgh", "CSeS"},
                             Case{Strategy::longestFirst, 3, "abcd", "efgh", "CSS"},
                             Case{Strategy::longestFirst, 11, "abcd", "efgh", "CabcdSefghS"},
                             Case{Strategy::onlyFirst, 8, "abcdef", "gh", "CabcSghS"},
                             Case{Strategy::onlySecond, 8, "ab", "cdefgh", "CabScdeS"},
                             Case{Strategy::onlySecond, 5, "ab", "cdefgh", "CabSS"}})
        EXPECT_EQ(cutTo(tokenizer, {test.first, test.second},
                        {.maxLength = test.length, .strategy = test.strategy, .keepsOverflow = false}),
                  std::vector{test.expected})
            << test.first << ' ' << test.second << ' ' << test.length;
    EXPECT_THAT(faultOf([&] {
                    cutTo(tokenizer, {"abcd", "ef"}, {.maxLength = 6, .strategy = Strategy::onlySecond});
                }),
                HasSubstr("the first text has 4 tokens, there is room for 3"));
    EXPECT_THAT(faultOf([&] { cutTo(tokenizer, {"abcd"}, {.maxLength = 1}); }),
                HasSubstr("a length of 1 tokens has no room for 2 special ones"));
    EXPECT_EQ(tokenizer.encoding({"abcd"}, {.addsSpecialTokens = false, .truncation = Truncation{.maxLength = 1}})
                  .tokens.size(),
              1u);
}

TEST(Truncation, WhatIsCutOffComesInPartsOfTheSameForm) {
    const Tokenizer tokenizer = withProcessor(bert);
    EXPECT_THAT(cutTo(tokenizer, {"abcdefgh"}, {.maxLength = 5}), ElementsAre("CabcS", "CdefS", "CghS"));
    EXPECT_THAT(cutTo(tokenizer, {"abcdefgh"}, {.maxLength = 6, .stride = 2}),
                ElementsAre("CabcdS", "CcdefS", "CefghS"));
    EXPECT_THAT(cutTo(tokenizer, {"abcdefgh"}, {.maxLength = 5, .stride = 1, .side = Side::left}),
                ElementsAre("CfghS", "CdefS", "CbcdS", "CabS"));
    EXPECT_THAT(cutTo(tokenizer, {"abcd"}, {.maxLength = 4, .stride = 99}), ElementsAre("CabS", "CbcS", "CcdS"))
        << "a stride leaves at least one new token to a part";
    EXPECT_THAT(cutTo(tokenizer, {"abcde", "gh"}, {.maxLength = 7, .strategy = Truncation::Strategy::onlyFirst}),
                ElementsAre("CabSghS", "CcdSghS", "CeSghS"));
    EXPECT_THAT(cutTo(tokenizer, {"abc", "fgh"}, {.maxLength = 7}),
                ElementsAre("CabSfgS", "CcSfgS", "CcShS", "CabShS"));
    EXPECT_THAT(cutTo(tokenizer, {"ab"}, {.maxLength = 2}), ElementsAre("CS", "CabS")) << "nothing is lost";
    const Encoding part = tokenizer.encoding({"ab cd"}, {.truncation = Truncation{.maxLength = 4}}).overflow.at(0);
    EXPECT_EQ(digitsOf(part, &EncodedToken::word), "-11-");
    EXPECT_EQ(part.tokens[1].range, (TextRange{3, 4}));
}

TEST(Truncation, APileOfPartsIsRefused) {
    const Tokenizer tokenizer = withProcessor(nullptr);
    std::string text;
    for (int i = 0; i < 20'000; ++i)
        text += "a ";
    const std::string fault = "more than 16777216 tokens; take a smaller stride";
    EXPECT_THAT(faultOf([&] { cutTo(tokenizer, {text}, {.maxLength = 10'000, .stride = 9'999}); }), HasSubstr(fault));
    EXPECT_THAT(faultOf([&] { cutTo(tokenizer, {text, text}, {.maxLength = 2}); }), HasSubstr(fault));
    EXPECT_EQ(cutTo(tokenizer, {text, text}, {.maxLength = 2, .keepsOverflow = false}).size(), 1u);
}

TEST(Padding, FillsUpToTheLongestAFixedLengthOrAMultiple) {
    const Tokenizer tokenizer = withProcessor(bert);
    const std::vector<TextInput> inputs{{"a"}, {"abcd"}, {"ab", "c"}};
    const auto padded = [&](const Padding& padding) {
        std::vector<std::string> texts;
        for (const Encoding& encoding : tokenizer.encodings(inputs, {.padding = padding}))
            texts.push_back(textOf(tokenizer, encoding));
        return texts;
    };
    EXPECT_THAT(padded({.id = 10}), ElementsAre("CaSPPP", "CabcdS", "CabScS"));
    EXPECT_THAT(padded({.multipleOf = 4, .side = Side::left, .id = 10}),
                ElementsAre("PPPPPCaS", "PPCabcdS", "PPCabScS"));
    EXPECT_THAT(padded({.length = 5, .id = 10}), ElementsAre("CaSPP", "CabcdS", "CabScS"));
    const Encoding one = tokenizer.encoding({"a"}, {.padding = Padding{.length = 4, .id = 10, .typeId = 7}});
    EXPECT_EQ(one.tokens.back(), (EncodedToken{10, {0, 0}, -1, 7, -1, true, true}));
    const Encoding parts =
        tokenizer.encoding({"abc"}, {.truncation = Truncation{.maxLength = 4}, .padding = Padding{.id = 10}});
    EXPECT_THAT(partsOf(tokenizer, parts), ElementsAre("CabS", "CcSP"));
    EXPECT_THAT(faultOf([&] {
                    const std::vector<TextInput> many(100, {"a"});
                    tokenizer.encodings(many, {.padding = Padding{.length = 1'000'000}});
                }),
                HasSubstr("take fewer texts at a time"));
}

TEST(Padding, TheFilesOwnSettingsHold_UnlessTheCallerHasOthers) {
    json file = letterFile();
    file["post_processor"] = bert;
    file["truncation"] = {{"direction", "Left"}, {"max_length", 5}, {"strategy", "LongestFirst"}, {"stride", 1}};
    file["padding"] = {
        {"strategy", {{"Fixed", 7}}}, {"direction", "Right"}, {"pad_to_multiple_of", nullptr}, {"pad_id", 10},
        {"pad_type_id", 0},           {"pad_token", "[PAD]"}};
    const Tokenizer tokenizer = parsed(file);
    EXPECT_THAT(partsOf(tokenizer, tokenizer.encoding("abcde")), ElementsAre("CcdeSPP", "CabcSPP"));
    EncodingOptions options = tokenizer.options();
    options.truncation->side = Side::right;
    options.padding.reset();
    EXPECT_THAT(partsOf(tokenizer, tokenizer.encoding({"abcde"}, options)), ElementsAre("CabcS", "CcdeS"));

    file["padding"]["strategy"] = "BatchLongest";
    EXPECT_EQ(parsed(file).options().padding->length, std::nullopt);
    for (const auto& [member, value] : {std::pair("strategy", json("Shortest")),
                                        {"strategy", {{"Fixed", 1 << 30}}},
                                        {"direction", "Up"},
                                        {"pad_id", -1},
                                        {"extra", 1}}) {
        json wrong = file;
        wrong["padding"][member] = value;
        EXPECT_THAT(faultOf([&] { parsed(wrong); }), HasSubstr("padding")) << member;
    }
    file["truncation"]["strategy"] = "Random";
    EXPECT_THAT(faultOf([&] { parsed(file); }), HasSubstr("truncation.strategy is the unknown strategy \"Random\""));
}

TEST(Encoding, TokensWordsAndBytesAreFoundFromEachOther) {
    const Tokenizer tokenizer = withProcessor(bert);
    const Encoding encoding = tokenizer.encoding({"ab  c", "d ef"}, tokenizer.options()); // C ab c S d ef S
    EXPECT_EQ(encoding.ids(), (std::vector{8, 0, 1, 2, 9, 3, 4, 5, 9}));
    EXPECT_EQ(encoding.tokenAt(1), 2u);
    EXPECT_EQ(encoding.tokenAt(2), std::nullopt) << "a blank";
    EXPECT_EQ(encoding.tokenAt(3, 1), 7u);
    EXPECT_EQ(encoding.tokenAt(0, -1), std::nullopt);
    EXPECT_EQ(encoding.wordAt(4), 1);
    EXPECT_EQ(encoding.wordAt(99), std::nullopt);
    EXPECT_EQ(encoding.tokensOfWord(1, 1), (TokenSpan{6, 8}));
    EXPECT_EQ(encoding.rangeOfWord(0), (TextRange{0, 2}));
    EXPECT_EQ(encoding.rangeOfWord(1, 1), (TextRange{2, 4}));
    EXPECT_EQ(encoding.rangeOfWord(-1), std::nullopt);
    EXPECT_EQ(encoding.tokensOfWord(5), std::nullopt);
}
