#pragma once

#include "hub/tokenizers/sequences/Encoding.h"
#include "hub/tokenizers/sequences/Padding.h"
#include "hub/tokenizers/sequences/Truncation.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

struct TokenizerDocument;

/// what() is one line that names the file, the fault and the remedy.
struct TokenizerError : std::runtime_error {
    TokenizerError(const std::string& message, std::string fault = {})
        : std::runtime_error(message), damage(std::move(fault)) {}
    std::string damage; // file and fault without the remedy; empty when another copy of the file would not help
};

/// A text, or a pair of texts, as of a question and where its answer is looked for.
struct TextInput {
    std::string_view text;
    std::optional<std::string_view> second = {};
};

/// What encoding() does with the tokens of a text.
struct EncodingOptions {
    bool addsSpecialTokens = true;             // those of the post-processor
    std::optional<Truncation> truncation = {}; // nothing is cut off without it
    std::optional<Padding> padding = {};
};

/// Text to tokens and back, as a tokenizer.json says: added tokens, normalizer, pre-tokenizer, model, decoder, and for
/// whole sequences post-processor, truncation and padding. An unknown setting that cannot change a token, such as a
/// comment or one that is null, is left out, and the log says so; any other is refused by name (JsonNode::allowOnly).
///
/// Threads: constant once loaded.
/// Errors:  TokenizerError when loading; afterwards only when texts cannot be truncated or padded as wanted.
class Tokenizer {
public:
    /// A tokenizer.json, or a folder with one or with the files of older models (see SeparateFiles.h).
    static Tokenizer load(const std::filesystem::path& place);
    /// `name` is what error texts call the source.
    static Tokenizer parse(std::string_view json, const std::string& name);

    Tokenizer(Tokenizer&&) noexcept;
    Tokenizer& operator=(Tokenizer&&) noexcept;
    ~Tokenizer();

    /// The tokens of the text alone: no special ones are added, nothing is cut off. Added tokens are recognised by
    /// their text. Text that is not valid UTF-8 is repaired first.
    std::vector<int> encode(std::string_view text) const;

    /// What the file says about whole sequences.
    const EncodingOptions& options() const;

    /// The same tokens, each with the bytes of `text` that it comes from, and what makes them an input of the model, as
    /// the file says. The ranges are in order. One that is a part of a character, as in byte-level vocabularies, has
    /// those of its bytes; an added token has the white space that it takes in.
    Encoding encoding(std::string_view text) const;
    /// As the caller says. The ranges of a pair are of the text that each token's sequence names.
    Encoding encoding(const TextInput& input, const EncodingOptions& options) const;
    /// The same for many, in their order, which are padded to one length.
    std::vector<Encoding> encodings(std::span<const TextInput> inputs, const EncodingOptions& options) const;

    /// How many special tokens the post-processor adds.
    std::size_t addedTokens(bool isPair) const;

    /// Valid UTF-8 always: bytes of a character that is cut in two become U+FFFD. Unknown ids give nothing.
    std::string decode(std::span<const int> tokens, bool skipSpecialTokens = false) const;

    std::optional<int> tokenToId(std::string_view token) const;
    std::optional<std::string> idToToken(int id) const;
    bool isSpecial(int id) const;

    /// One more than the largest id.
    int vocabularySize() const;

private:
    struct Implementation;
    static Tokenizer make(TokenizerDocument document, const std::string& name);
    explicit Tokenizer(std::unique_ptr<Implementation> implementation);
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace fenlo::hub
