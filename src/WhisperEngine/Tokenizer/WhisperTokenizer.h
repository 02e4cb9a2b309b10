#pragma once

#include "WhisperEngine/Tokenizer/SpecialTokens.h"
#include "hub/tokenizers/Tokenizer.h"

#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace fenlo::whisper {

/// A tokenizer with Whisper's special tokens, language tokens and words.
///
/// Threads: constant once made.
/// Errors:  hub::TokenizerError for a vocabulary without "<|endoftext|>" or "<|startoftranscript|>".
class WhisperTokenizer {
public:
    explicit WhisperTokenizer(hub::Tokenizer tokenizer);

    std::vector<int> encode(std::string_view text) const { return m_tokenizer.encode(text); }
    /// Times have their literals even where the vocabulary does not list them.
    std::string decode(std::span<const int> tokens, bool skipSpecialTokens = false) const;

    const SpecialTokens& specialTokens() const { return m_specialTokens; }
    /// Every language token of the vocabulary; empty for a vocabulary without languages.
    const std::set<int>& allLanguageTokens() const { return m_languageTokens; }
    /// The token of a code such as "de"; a name such as "german" serves too.
    std::optional<int> languageToken(const std::string& language) const;
    /// The code of a language token, without the markers.
    std::string languageCode(int token) const;

    /// Words and the tokens they are made of, special tokens left out: at blanks, or by characters for the languages
    /// that put no blanks between words ("zh", "ja", "th", "lo", "my", "yue").
    std::vector<std::pair<std::string, std::vector<int>>> splitToWordTokens(std::span<const int> tokens,
                                                                            const std::string& language) const;

private:
    bool isUnlistedTime(int token) const;

    hub::Tokenizer m_tokenizer;
    std::set<int> m_languageTokens;
    SpecialTokens m_specialTokens;
};

/// The code of a language by its code or English name, as the published table of Whisper's languages has them; none for
/// a language that Whisper does not know.
std::optional<std::string> languageCodeOf(const std::string& language);

inline constexpr const char* defaultLanguageCode = "en";

} // namespace fenlo::whisper
