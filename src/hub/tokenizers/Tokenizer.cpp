#include "hub/tokenizers/Tokenizer.h"

#include "base/Text.h"
#include "hub/tokenizers/AddedTokens.h"
#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/SeparateFiles.h"
#include "hub/tokenizers/TokenizerDocument.h"
#include "hub/tokenizers/TokenizerFile.h"
#include "hub/tokenizers/models/WordEncoder.h"
#include "hub/tokenizers/sequences/PostProcessor.h"
#include "hub/tokenizers/steps/Decoder.h"
#include "hub/tokenizers/steps/Normalizer.h"
#include "hub/tokenizers/steps/PreTokenizer.h"

#include <cstdint>
#include <system_error>
#include <unicode/utf8.h>
#include <unordered_set>
#include <utility>

namespace fenlo::hub {

namespace {

/// Calls `useText(begin, end)` and `useToken(id, range)` for the parts of the text, in order.
template <typename UseText, typename UseToken>
void splitAtTokens(const AddedTokenFinder& finder, const AlignedText& text, UseText useText, UseToken useToken) {
    std::size_t done = 0;
    for (const AddedTokenFinder::Match& match : finder.find(text.text())) {
        if (done < match.begin)
            useText(done, match.begin);
        useToken(match.id, text.origin(match.begin, match.end));
        done = match.end;
    }
    if (done < text.text().size())
        useText(done, text.text().size());
}

} // namespace

struct Tokenizer::Implementation {
    /// `root` is the one of the document, whose vocabulary moves here.
    Implementation(const JsonNode& root, TokenizerDocument& document);

    void readAddedTokens(const JsonNode& node);
    std::string normalizedText(const std::string& text) const;

    /// Calls `useToken(id, range)` for the added tokens in the text and `useWords(words)` for what lies between them.
    template <typename UseToken, typename UseWords>
    void cut(const AlignedText& text, UseToken useToken, UseWords useWords) const;

    /// The tokens of a text with their places, and nothing more.
    Encoding tokensOf(std::string_view text) const;
    /// All but the padding.
    Encoding sequenceOf(const TextInput& input, const EncodingOptions& options) const;

    Normalizer normalizer;
    PreTokenizer preTokenizer;
    Model model;
    Decoder decoder;
    Vocabulary vocabulary;
    PostProcessor postProcessor; // after the added tokens are read, which it names
    EncodingOptions options;
    std::unordered_set<int> specialTokens;
    AddedTokenFinder tokensInText;
    AddedTokenFinder tokensInNormalizedText;
};

namespace {

/// The text with U+FFFD in the place of every ill-formed sequence.
AlignedText trackedRepair(std::string_view text) {
    AlignedText repaired = AlignedText::tracked(std::string(text));
    AlignedTextWriter writer(repaired);
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end) {
        UChar32 character = 0;
        U8_NEXT(bytes, end, text.size(), character);
        if (character >= 0)
            continue;
        writer.keep(begin);
        writer.replace(end, "\uFFFD");
    }
    writer.finish();
    return repaired;
}

void checkRoot(const JsonNode& root) {
    if (!root.has("model"))
        root.fail("is no tokenizer, since it has no \"model\"");
    root.allowOnly({"version", "truncation", "padding", "added_tokens", "normalizer", "pre_tokenizer", "post_processor",
                    "decoder", "model"});
    if (const JsonNode version = root.member("version"); !version.isNull() && version.string() != "1.0")
        version.refuse("is not 1.0");
}

} // namespace

Tokenizer::Implementation::Implementation(const JsonNode& root, TokenizerDocument& document)
    : normalizer(Normalizer::read(root.member("normalizer"))),
      preTokenizer(PreTokenizer::read(root.member("pre_tokenizer"))), model(readModel(root.member("model"), document)),
      decoder(Decoder::read(root.member("decoder"))), vocabulary(std::move(document.vocabulary)) {
    if (const JsonNode added = root.member("added_tokens"); !added.isNull())
        readAddedTokens(added);
    postProcessor = PostProcessor::read(root.member("post_processor"), vocabulary);
    if (const JsonNode truncation = root.member("truncation"); !truncation.isNull())
        options.truncation = Truncation::read(truncation);
    if (const JsonNode padding = root.member("padding"); !padding.isNull())
        options.padding = Padding::read(padding);
}

std::string Tokenizer::Implementation::normalizedText(const std::string& text) const {
    AlignedText aligned = AlignedText::plain(text);
    normalizer.apply(aligned);
    return aligned.text();
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
            token.content = normalizedText(token.content);
        (token.normalized ? normalized : plain).push_back(std::move(token));
    }
    tokensInText = AddedTokenFinder(std::move(plain));
    tokensInNormalizedText = AddedTokenFinder(std::move(normalized));
}

Tokenizer::Tokenizer(std::unique_ptr<Implementation> implementation) : m_implementation(std::move(implementation)) {}
Tokenizer::Tokenizer(Tokenizer&&) noexcept = default;
Tokenizer& Tokenizer::operator=(Tokenizer&&) noexcept = default;
Tokenizer::~Tokenizer() = default;

Tokenizer Tokenizer::load(const std::filesystem::path& place) {
    std::error_code error;
    const bool isFolder = std::filesystem::is_directory(place, error);
    const std::filesystem::path file = isFolder ? place / "tokenizer.json" : place;
    if (isFolder && !std::filesystem::exists(file, error))
        return make(readSeparateFiles(place), place.string());
    return parse(readTokenizerFile(file), file.string());
}

Tokenizer Tokenizer::parse(std::string_view json, const std::string& name) {
    return make(readTokenizerDocument(json, name), name);
}

Tokenizer Tokenizer::make(TokenizerDocument document, const std::string& name) {
    const JsonNode root(document.settings, "", name);
    checkRoot(root);
    return Tokenizer(std::make_unique<Implementation>(root, document));
}

template <typename UseToken, typename UseWords>
void Tokenizer::Implementation::cut(const AlignedText& text, UseToken useToken, UseWords useWords) const {
    const auto cutPlain = [&](std::size_t begin, std::size_t end) {
        AlignedText part = text.part(begin, end);
        normalizer.apply(part);
        const auto cutWords = [&](std::size_t from, std::size_t to) {
            useWords(preTokenizer.split(part.part(from, to), begin == 0 && from == 0));
        };
        splitAtTokens(tokensInNormalizedText, part, cutWords, useToken);
    };
    splitAtTokens(tokensInText, text, cutPlain, useToken);
}

std::vector<int> Tokenizer::encode(std::string_view text) const {
    const Implementation& it = *m_implementation;
    std::vector<int> ids;
    ids.reserve(text.size() / 4);
    WordEncoder encoder(it.model, it.vocabulary, text.size());
    const auto addToken = [&](int id, const TextRange&) { ids.push_back(id); };
    const auto addWords = [&](const Words& words) {
        for (const TextRange& word : words.ranges)
            for (const ModelToken& token : encoder.encode(words.textOf(word)))
                ids.push_back(token.id);
    };
    it.cut(AlignedText::plain(text::repairUtf8(text)), addToken, addWords);
    return ids;
}

Encoding Tokenizer::Implementation::tokensOf(std::string_view text) const {
    Encoding encoding;
    WordEncoder encoder(model, vocabulary, text.size());
    int wordCount = 0;
    const auto add = [&](int id, const TextRange& range) {
        encoding.tokens.push_back(
            {.id = id, .range = range, .word = wordCount, .isSpecial = specialTokens.contains(id)});
    };
    const auto addToken = [&](int id, const TextRange& range) {
        add(id, range);
        ++wordCount;
    };
    const auto addWords = [&](const Words& words) {
        for (const TextRange& word : words.ranges) {
            for (const ModelToken& token : encoder.encode(words.textOf(word)))
                add(token.id, words.text.origin(word.begin + token.begin, word.begin + token.end));
            ++wordCount;
        }
    };
    cut(trackedRepair(text), addToken, addWords);
    return encoding;
}

Encoding Tokenizer::Implementation::sequenceOf(const TextInput& input, const EncodingOptions& wanted) const {
    const auto encoded = [this](std::string_view text) {
        Encoding encoding = tokensOf(text);
        postProcessor.trim(encoding, text, vocabulary);
        return encoding;
    };
    Sequences sequences{encoded(input.text), {}};
    if (input.second)
        sequences.second = encoded(*input.second);
    if (wanted.truncation) {
        const std::size_t added = wanted.addsSpecialTokens ? postProcessor.addedTokens(input.second.has_value()) : 0;
        if (added > wanted.truncation->maxLength)
            throw TokenizerError("a length of " + std::to_string(wanted.truncation->maxLength) +
                                 " tokens has no room for " + std::to_string(added) +
                                 " special ones; take a larger one or leave them out");
        truncate(sequences, *wanted.truncation, wanted.truncation->maxLength - added);
    }
    return postProcessor.join(std::move(sequences), wanted.addsSpecialTokens);
}

const EncodingOptions& Tokenizer::options() const {
    return m_implementation->options;
}

Encoding Tokenizer::encoding(std::string_view text) const {
    return encoding({text}, options());
}

Encoding Tokenizer::encoding(const TextInput& input, const EncodingOptions& options) const {
    return std::move(encodings({&input, 1}, options).front());
}

std::vector<Encoding> Tokenizer::encodings(std::span<const TextInput> inputs, const EncodingOptions& options) const {
    std::vector<Encoding> encodings;
    encodings.reserve(inputs.size());
    for (const TextInput& input : inputs)
        encodings.push_back(m_implementation->sequenceOf(input, options));
    if (options.padding)
        pad(encodings, *options.padding);
    return encodings;
}

std::size_t Tokenizer::addedTokens(bool isPair) const {
    return m_implementation->postProcessor.addedTokens(isPair);
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
