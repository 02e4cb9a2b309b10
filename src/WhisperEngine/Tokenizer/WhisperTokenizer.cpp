#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"

#include "WhisperEngine/Tokenizer/Languages.h"
#include "base/Text.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace fenlo::whisper {

namespace {

using WordTokens = std::vector<std::pair<std::string, std::vector<int>>>;

constexpr std::string_view cutCharacter = "\uFFFD"; // what decoding gives for bytes that are no whole character
constexpr std::string_view asciiPunctuation = "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~";

std::string marked(std::string_view name) {
    return "<|" + std::string(name) + "|>";
}

SpecialTokens findSpecialTokens(const hub::Tokenizer& tokenizer) {
    SpecialTokens found;
    const auto find = [&](int& token, std::initializer_list<std::string_view> literals) {
        for (const std::string_view literal : literals)
            if (const std::optional<int> id = tokenizer.tokenToId(literal)) {
                token = *id;
                return;
            }
    };
    find(found.endToken, {"<|endoftext|>"});
    find(found.englishToken, {"<|en|>"});
    find(found.noSpeechToken, {"<|nospeech|>", "<|nocaptions|>"}); // the second in older vocabularies
    find(found.noTimestampsToken, {"<|notimestamps|>"});
    find(found.startOfPreviousToken, {"<|startofprev|>"});
    find(found.startOfTranscriptToken, {"<|startoftranscript|>"});
    find(found.timeTokenBegin, {"<|0.00|>"});
    find(found.transcribeToken, {"<|transcribe|>"});
    find(found.translateToken, {"<|translate|>"});
    found.specialTokenBegin = found.endToken;
    if (const std::vector<int> blank = tokenizer.encode(" "); blank.size() == 1)
        found.whitespaceToken = blank.front();
    return found;
}

/// The smallest groups of tokens that are whole characters.
WordTokens splitAtCharacters(const hub::Tokenizer& tokenizer, const std::vector<int>& tokens) {
    const std::string whole = tokenizer.decode(tokens);
    WordTokens pieces;
    std::size_t at = 0; // in `whole`
    std::vector<int> current;
    for (const int token : tokens) {
        current.push_back(token);
        std::string text = tokenizer.decode(current);
        const std::size_t cut = text.find(cutCharacter);
        // A character that is broken in the whole text stays broken, however many tokens follow.
        const bool isWhole =
            cut == std::string::npos ||
            (at + cut < whole.size() && whole.compare(at + cut, cutCharacter.size(), cutCharacter) == 0);
        if (!isWhole)
            continue;
        at += text.size();
        pieces.emplace_back(std::move(text), std::move(current));
        current.clear();
    }
    if (!current.empty()) // the text ends within a character
        pieces.emplace_back(tokenizer.decode(current), std::move(current));
    return pieces;
}

bool beginsWord(const std::string& piece) {
    // Blanks alone are a word too.
    return piece.starts_with(' ') ||
           asciiPunctuation.find(text::trimWhitespaceAndNewlines(piece)) != std::string_view::npos;
}

} // namespace

WhisperTokenizer::WhisperTokenizer(hub::Tokenizer tokenizer)
    : m_tokenizer(std::move(tokenizer)), m_specialTokens(findSpecialTokens(m_tokenizer)) {
    for (const Language& language : languages())
        if (const std::optional<int> token = m_tokenizer.tokenToId(marked(language.code)))
            m_languageTokens.insert(*token);
}

std::string WhisperTokenizer::decode(std::span<const int> tokens, bool skipSpecialTokens) const {
    if (!skipSpecialTokens)
        return m_tokenizer.decode(tokens);
    std::vector<int> text(tokens.begin(), tokens.end());
    std::erase_if(text, [this](int token) { return token >= m_specialTokens.specialTokenBegin; });
    return m_tokenizer.decode(text);
}

std::optional<int> WhisperTokenizer::languageToken(const std::string& language) const {
    const std::optional<std::string> code = languageCodeOf(language);
    return code ? m_tokenizer.tokenToId(marked(*code)) : std::nullopt;
}

std::string WhisperTokenizer::languageCode(int token) const {
    std::string code = m_tokenizer.idToToken(token).value_or("");
    if (code.starts_with("<|") && code.ends_with("|>") && code.size() >= 4)
        code = code.substr(2, code.size() - 4);
    return code;
}

WordTokens WhisperTokenizer::splitToWordTokens(std::span<const int> tokens, const std::string& language) const {
    std::vector<int> text(tokens.begin(), tokens.end());
    std::erase_if(text, [this](int token) { return token >= m_specialTokens.specialTokenBegin; });
    WordTokens pieces = splitAtCharacters(m_tokenizer, text);
    if (std::ranges::count(languagesWithoutBlanks(), language) > 0)
        return pieces;

    WordTokens words;
    for (auto& [piece, pieceTokens] : pieces) {
        if (words.empty() || beginsWord(piece)) {
            words.emplace_back(std::move(piece), std::move(pieceTokens));
        } else {
            words.back().first += piece;
            words.back().second.insert(words.back().second.end(), pieceTokens.begin(), pieceTokens.end());
        }
    }
    return words;
}

std::optional<std::string> languageCodeOf(const std::string& language) {
    const std::string wanted = text::lower(language);
    for (const std::span<const Language> table : {languages(), otherLanguageNames()})
        for (const Language& known : table)
            if (known.code == wanted || known.name == wanted)
                return std::string(known.code);
    return std::nullopt;
}

} // namespace fenlo::whisper
