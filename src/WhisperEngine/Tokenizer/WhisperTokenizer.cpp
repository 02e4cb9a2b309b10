#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"

#include "WhisperEngine/Tokenizer/Languages.h"
#include "base/Text.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>

namespace fenlo::whisper {

namespace {

using WordTokens = std::vector<std::pair<std::string, std::vector<int>>>;

constexpr int timeTokenCount = 1501;                // 0 to 30 seconds in steps of 0.02
constexpr std::string_view cutCharacter = "\uFFFD"; // what decoding gives for bytes that are no whole character
constexpr std::string_view asciiPunctuation = "!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~";

std::string marked(std::string_view name) {
    return "<|" + std::string(name) + "|>";
}

int required(const hub::Tokenizer& tokenizer, std::string_view literal) {
    const std::optional<int> token = tokenizer.tokenToId(literal);
    if (!token) {
        const std::string fault = "the tokenizer has no token " + std::string(literal) + " and is of no speech model";
        throw hub::TokenizerError(fault + "; download the model again", fault);
    }
    return *token;
}

/// Vocabularies that do not list their times number them behind the special tokens.
int firstTime(const hub::Tokenizer& tokenizer, const SpecialTokens& found, const std::set<int>& languages) {
    if (const std::optional<int> time = tokenizer.tokenToId("<|0.00|>"))
        return *time;
    int token = std::max({found.endToken, found.noSpeechToken, found.noTimestampsToken, found.startOfPreviousToken,
                          found.startOfTranscriptToken, found.transcribeToken, found.translateToken,
                          tokenizer.tokenToId("<|startoflm|>").value_or(noToken)});
    if (!languages.empty())
        token = std::max(token, *languages.rbegin());
    do
        ++token;
    while (tokenizer.idToToken(token)); // special tokens that only this vocabulary has
    return token;
}

SpecialTokens findSpecialTokens(const hub::Tokenizer& tokenizer, const std::set<int>& languages) {
    SpecialTokens found;
    const auto find = [&](std::string_view literal) { return tokenizer.tokenToId(literal).value_or(noToken); };
    found.endToken = required(tokenizer, "<|endoftext|>");
    found.startOfTranscriptToken = required(tokenizer, "<|startoftranscript|>");
    found.englishToken = find("<|en|>");
    found.noSpeechToken = find("<|nospeech|>");
    if (found.noSpeechToken == noToken)
        found.noSpeechToken = find("<|nocaptions|>"); // in older vocabularies
    found.noTimestampsToken = find("<|notimestamps|>");
    found.startOfPreviousToken = find("<|startofprev|>");
    found.transcribeToken = find("<|transcribe|>");
    found.translateToken = find("<|translate|>");
    found.timeTokenBegin = firstTime(tokenizer, found, languages);
    found.specialTokenBegin = found.endToken;
    if (const std::vector<int> blank = tokenizer.encode(" "); blank.size() == 1)
        found.whitespaceToken = blank.front();
    return found;
}

std::set<int> findLanguageTokens(const hub::Tokenizer& tokenizer) {
    std::set<int> tokens;
    for (const Language& language : languages())
        if (const std::optional<int> token = tokenizer.tokenToId(marked(language.code)))
            tokens.insert(*token);
    return tokens;
}

/// "<|1.50|>" for the token 75 steps behind the first.
std::string timeLiteral(int steps) {
    const int hundredths = 2 * steps;
    const std::string fraction = std::to_string(100 + hundredths % 100).substr(1);
    return marked(std::to_string(hundredths / 100) + "." + fraction);
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
    : m_tokenizer(std::move(tokenizer)), m_languageTokens(findLanguageTokens(m_tokenizer)),
      m_specialTokens(findSpecialTokens(m_tokenizer, m_languageTokens)) {}

std::string WhisperTokenizer::decode(std::span<const int> tokens, bool skipSpecialTokens) const {
    if (skipSpecialTokens) {
        std::vector<int> text(tokens.begin(), tokens.end());
        std::erase_if(text, [this](int token) { return token >= m_specialTokens.specialTokenBegin; });
        return m_tokenizer.decode(text);
    }
    std::string text;
    std::size_t done = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i)
        if (isUnlistedTime(tokens[i])) {
            text += m_tokenizer.decode(tokens.subspan(done, i - done));
            text += timeLiteral(tokens[i] - m_specialTokens.timeTokenBegin);
            done = i + 1;
        }
    return text + m_tokenizer.decode(tokens.subspan(done));
}

bool WhisperTokenizer::isUnlistedTime(int token) const {
    const int steps = token - m_specialTokens.timeTokenBegin;
    return steps >= 0 && steps < timeTokenCount && !m_tokenizer.idToToken(token);
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
