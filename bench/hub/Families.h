#pragma once

#include "base/Json.h"
#include "hub/tokenizers/Tokenizer.h"

#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// Tokenizers of every family with vocabularies as large as published ones, made from a text.
namespace fenlo::hub::bench {

using nlohmann::json;

/// The most frequent words between blanks.
inline std::vector<std::string> frequentWords(std::string_view text, std::size_t most) {
    std::map<std::string, int, std::less<>> counts;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find_first_of(" \n\t", begin), text.size());
        if (begin < end)
            ++counts[std::string(text.substr(begin, end - begin))];
        begin = end + 1;
    }
    std::vector<std::pair<int, std::string>> sorted;
    for (const auto& [word, count] : counts)
        sorted.emplace_back(-count, word);
    std::sort(sorted.begin(), sorted.end());
    std::vector<std::string> words;
    for (std::size_t i = 0; i < std::min(most, sorted.size()); ++i)
        words.push_back(sorted[i].second);
    return words;
}

inline std::vector<std::string> charactersOf(std::string_view text) {
    std::vector<std::string> characters;
    for (const char c : text)
        if ((static_cast<unsigned char>(c) & 0xC0U) == 0x80 && !characters.empty())
            characters.back() += c;
        else
            characters.emplace_back(1, c);
    return characters;
}

inline json number(const std::set<std::string>& pieces) {
    json vocabulary = json::object();
    for (const std::string& piece : pieces)
        vocabulary[piece] = vocabulary.size();
    return vocabulary;
}

inline Tokenizer made(json model, json preTokenizer, json normalizer) {
    const json file = {{"version", "1.0"},
                       {"added_tokens", json::array()},
                       {"normalizer", std::move(normalizer)},
                       {"pre_tokenizer", std::move(preTokenizer)},
                       {"post_processor", nullptr},
                       {"decoder", nullptr},
                       {"model", std::move(model)}};
    return Tokenizer::parse(writeJson(file), "bench.json");
}

inline const json bertNormalizer = {{"type", "BertNormalizer"},
                                    {"clean_text", true},
                                    {"handle_chinese_chars", true},
                                    {"strip_accents", true},
                                    {"lowercase", true}};
inline const json metaspace = {
    {"type", "Metaspace"}, {"replacement", "\u2581"}, {"prepend_scheme", "always"}, {"split", true}};

/// Words, their first and second halves, and all characters.
inline Tokenizer wordPiece(const std::vector<std::string>& words) {
    std::set<std::string> pieces{"[UNK]"};
    for (const std::string& word : words) {
        const auto characters = charactersOf(word);
        std::string halves[2];
        for (std::size_t i = 0; i < characters.size(); ++i) {
            pieces.insert({characters[i], "##" + characters[i]});
            halves[i >= characters.size() / 2] += characters[i];
        }
        pieces.insert({word, halves[0], "##" + halves[1]});
    }
    pieces.erase("");
    return made({{"type", "WordPiece"},
                 {"unk_token", "[UNK]"},
                 {"continuing_subword_prefix", "##"},
                 {"max_input_chars_per_word", 100},
                 {"vocab", number(pieces)}},
                {{"type", "BertPreTokenizer"}}, bertNormalizer);
}

inline Tokenizer wordLevel(const std::vector<std::string>& words) {
    std::set<std::string> pieces(words.begin(), words.end());
    pieces.insert("[UNK]");
    return made({{"type", "WordLevel"}, {"unk_token", "[UNK]"}, {"vocab", number(pieces)}},
                {{"type", "WhitespaceSplit"}}, nullptr);
}

/// All beginnings and single characters of the words; longer pieces are likelier.
inline Tokenizer unigram(const std::vector<std::string>& words) {
    std::map<std::string, double> pieces;
    for (const std::string& word : words) {
        std::string beginning = "\u2581";
        double score = -12;
        for (const std::string& character : charactersOf(word)) {
            pieces.try_emplace(character, -10.5);
            beginning += character;
            pieces.try_emplace(beginning, score += 0.25);
        }
    }
    json vocabulary = json::array({json::array({"<unk>", 0.0}), json::array({"\u2581", -5.0})});
    for (const auto& [piece, score] : pieces)
        vocabulary.push_back(json::array({piece, score}));
    return made({{"type", "Unigram"}, {"unk_id", 0}, {"vocab", vocabulary}}, metaspace, {{"type", "NFKC"}});
}

/// Each word is merged from its begin on.
inline Tokenizer metaspacePairs(const std::vector<std::string>& words) {
    std::set<std::string> pieces{"<unk>", "\u2581"};
    json merges = json::array();
    for (const std::string& word : words) {
        std::string left = "\u2581";
        for (const std::string& character : charactersOf(word)) {
            pieces.insert(character);
            if (pieces.insert(left + character).second)
                merges.push_back(json::array({left, character}));
            left += character;
        }
    }
    return made({{"type", "BPE"}, {"unk_token", "<unk>"}, {"vocab", number(pieces)}, {"merges", merges}}, metaspace,
                nullptr);
}

} // namespace fenlo::hub::bench
