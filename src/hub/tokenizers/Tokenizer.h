#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// what() is one line that names the file, the fault and the remedy.
struct TokenizerError : std::runtime_error {
    TokenizerError(const std::string& message, std::string fault = {})
        : std::runtime_error(message), damage(std::move(fault)) {}
    std::string damage; // file and fault without the remedy; empty when another copy of the file would not help
};

/// Text to tokens and back, as a tokenizer.json says: added tokens, normalizer, pre-tokenizer, byte-pair merges and
/// decoder. The members "truncation", "padding" and "post_processor", which are about whole sequences, are left to the
/// caller. Unknown settings elsewhere are refused, since to ignore them could change the tokens.
///
/// Threads: constant once loaded.
/// Errors:  TokenizerError when loading; none afterwards.
class Tokenizer {
public:
    static Tokenizer load(const std::filesystem::path& tokenizerJson);
    /// `name` is what error texts call the source.
    static Tokenizer parse(std::string_view json, const std::string& name);

    Tokenizer(Tokenizer&&) noexcept;
    Tokenizer& operator=(Tokenizer&&) noexcept;
    ~Tokenizer();

    /// Added tokens are recognised by their text. Text that is not valid UTF-8 is repaired first.
    std::vector<int> encode(std::string_view text) const;

    /// Valid UTF-8 always: bytes of a character that is cut in two become U+FFFD. Unknown ids give nothing.
    std::string decode(std::span<const int> tokens, bool skipSpecialTokens = false) const;

    std::optional<int> tokenToId(std::string_view token) const;
    std::optional<std::string> idToToken(int id) const;
    bool isSpecial(int id) const;

    /// One more than the largest id.
    int vocabularySize() const;

private:
    struct Implementation;
    explicit Tokenizer(std::unique_ptr<Implementation> implementation);
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace fenlo::hub
