#include "hub/tokenizers/Tokenizer.h"

#include "base/Files.h"
#include "base/Text.h"
#include "hub/tokenizers/AddedTokens.h"
#include "hub/tokenizers/BytePairEncoding.h"
#include "hub/tokenizers/Decoder.h"
#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/Normalizer.h"
#include "hub/tokenizers/PreTokenizer.h"
#include "hub/tokenizers/TokenizerDocument.h"

#include <system_error>
#include <unordered_set>
#include <utility>

namespace fenlo::hub {

namespace {

constexpr std::uintmax_t maximumFileSize = 128UL << 20U; // bytes

/// Calls `useText(begin, end)` and `useToken(id)` for the parts of the text, in order.
template <typename UseText, typename UseToken>
void splitAtTokens(const AddedTokenFinder& finder, std::string_view text, UseText useText, UseToken useToken) {
    std::size_t done = 0;
    for (const AddedTokenFinder::Match& match : finder.find(text)) {
        if (done < match.begin)
            useText(done, match.begin);
        useToken(match.id);
        done = match.end;
    }
    if (done < text.size())
        useText(done, text.size());
}

} // namespace

struct Tokenizer::Implementation {
    Implementation(TokenizerDocument read, const std::string& source);

    void readAddedTokens(const JsonNode& node);

    Normalizer normalizer;
    PreTokenizer preTokenizer;
    BytePairEncoding model;
    Decoder decoder;
    Vocabulary vocabulary;
    std::unordered_set<int> specialTokens;
    AddedTokenFinder tokensInText;
    AddedTokenFinder tokensInNormalizedText;
};

namespace {

JsonNode rootOf(const TokenizerDocument& document, const std::string& source) {
    JsonNode root(document.settings, "", source);
    if (!root.has("model"))
        root.fail("is no tokenizer, since it has no \"model\"");
    root.allowOnly({"version", "truncation", "padding", "added_tokens", "normalizer", "pre_tokenizer", "post_processor",
                    "decoder", "model"});
    if (const JsonNode version = root.member("version"); !version.isNull() && version.string() != "1.0")
        version.refuse("is not 1.0");
    return root;
}

} // namespace

Tokenizer::Implementation::Implementation(TokenizerDocument read, const std::string& source)
    : normalizer(Normalizer::read(rootOf(read, source).member("normalizer"))),
      preTokenizer(PreTokenizer::read(rootOf(read, source).member("pre_tokenizer"))),
      model(rootOf(read, source).member("model"), read), decoder(Decoder::read(rootOf(read, source).member("decoder"))),
      vocabulary(std::move(read.vocabulary)) {
    if (const JsonNode added = rootOf(read, source).member("added_tokens"); !added.isNull())
        readAddedTokens(added);
}

void Tokenizer::Implementation::readAddedTokens(const JsonNode& node) {
    std::vector<AddedToken> plain;
    std::vector<AddedToken> normalized;
    std::unordered_set<int> seen;
    for (const JsonNode& item : node.items()) {
        AddedToken token = AddedToken::read(item);
        const bool isKnown = vocabulary.find(token.content) == token.id; // many files list these tokens twice
        if (!seen.insert(token.id).second || !(isKnown || vocabulary.add(token.content, token.id)))
            item.fail("has the text " + inQuotes(token.content) + " or the id " + std::to_string(token.id) +
                      " of another token");
        if (token.special)
            specialTokens.insert(token.id);
        if (token.normalized)
            token.content = normalizer.apply(token.content);
        (token.normalized ? normalized : plain).push_back(std::move(token));
    }
    tokensInText = AddedTokenFinder(std::move(plain));
    tokensInNormalizedText = AddedTokenFinder(std::move(normalized));
}

Tokenizer::Tokenizer(std::unique_ptr<Implementation> implementation) : m_implementation(std::move(implementation)) {}
Tokenizer::Tokenizer(Tokenizer&&) noexcept = default;
Tokenizer& Tokenizer::operator=(Tokenizer&&) noexcept = default;
Tokenizer::~Tokenizer() = default;

Tokenizer Tokenizer::load(const std::filesystem::path& tokenizerJson) {
    const std::string name = tokenizerJson.string();
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(tokenizerJson, error);
    if (!error && size > maximumFileSize)
        failDocument(name, "", "is larger than any tokenizer, " + std::to_string(size) + " bytes");
    const std::optional<std::string> json = error ? std::nullopt : files::read(tokenizerJson);
    if (!json)
        failDocument(name, "", "cannot be read");
    return parse(*json, name);
}

Tokenizer Tokenizer::parse(std::string_view json, const std::string& name) {
    return Tokenizer(std::make_unique<Implementation>(readTokenizerDocument(json, name), name));
}

std::vector<int> Tokenizer::encode(std::string_view text) const {
    const Implementation& it = *m_implementation;
    std::vector<int> tokens;
    const auto addToken = [&](int id) { tokens.push_back(id); };
    const std::string repaired = text::repairUtf8(text);
    const auto encodePlain = [&](std::size_t begin, std::size_t end) {
        const std::string normalized = it.normalizer.apply(repaired.substr(begin, end - begin));
        const auto encodeWords = [&](std::size_t from, std::size_t to) {
            const bool isStart = begin == 0 && from == 0;
            it.model.encode(it.preTokenizer.split(normalized.substr(from, to - from), isStart), it.vocabulary, tokens);
        };
        splitAtTokens(it.tokensInNormalizedText, normalized, encodeWords, addToken);
    };
    splitAtTokens(it.tokensInText, repaired, encodePlain, addToken);
    return tokens;
}

std::string Tokenizer::decode(std::span<const int> tokens, bool skipSpecialTokens) const {
    std::vector<std::string> pieces;
    pieces.reserve(tokens.size());
    for (const int token : tokens)
        if (const std::optional<std::string_view> piece = m_implementation->vocabulary.piece(token))
            if (!skipSpecialTokens || !isSpecial(token))
                pieces.emplace_back(*piece);
    return m_implementation->decoder.apply(std::move(pieces));
}

std::optional<int> Tokenizer::tokenToId(std::string_view token) const {
    return m_implementation->vocabulary.find(token);
}

std::optional<std::string> Tokenizer::idToToken(int id) const {
    const std::optional<std::string_view> piece = m_implementation->vocabulary.piece(id);
    return piece ? std::optional<std::string>(*piece) : std::nullopt;
}

bool Tokenizer::isSpecial(int id) const {
    return m_implementation->specialTokens.contains(id);
}

int Tokenizer::vocabularySize() const {
    return m_implementation->vocabulary.size();
}

} // namespace fenlo::hub
