#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

/// Settings that are one of some words. The last enumerator of each stands for a word that this version does not know;
/// wordsOf() has the words of the others, in their order.
namespace fenlo {

enum class SoundSchemeId {
    gentle,
    bubble,
    whisper,
    bamboo,
    chime,
    typewriter,
    droplet,
    harp,
    minimal,
    morse,
    marimba,
    none,
    unknown
};
constexpr auto wordsOf(SoundSchemeId) {
    return std::to_array<std::string_view>({"gentle", "bubble", "whisper", "bamboo", "chime", "typewriter", "droplet",
                                            "harp", "minimal", "morse", "marimba", "none"});
}

enum class OutputMode { transcribe, translate, transliterate, unknown };
constexpr auto wordsOf(OutputMode) {
    return std::to_array<std::string_view>({"transcribe", "translate", "transliterate"});
}

/// The language models that rewrite; an unknown word is taken as automatic.
enum class SmartRewriteModel { automatic, gemini, groq, unknown };
constexpr auto wordsOf(SmartRewriteModel) {
    return std::to_array<std::string_view>({"auto", "gemini", "groq"});
}

enum class SmartRewriteStyle { full, minimal, unknown };
constexpr auto wordsOf(SmartRewriteStyle) {
    return std::to_array<std::string_view>({"full", "minimal"});
}

/// Who recognises speech, by its code in the file; an unknown word is taken as `byProvider`.
enum class SttEngine {
    byProvider, // the provider that the remote configuration names
    grok,
    unknown
};
constexpr auto wordsOf(SttEngine) {
    return std::to_array<std::string_view>({"stt80", "stt81"});
}

enum class DictationMode { work, personal, unknown };
constexpr auto wordsOf(DictationMode) {
    return std::to_array<std::string_view>({"work", "personal"});
}

enum class MicMode { studio, airpods, unknown };
constexpr auto wordsOf(MicMode) {
    return std::to_array<std::string_view>({"studio", "airpods"});
}

/// How the windows look; an unknown word is taken as `system`.
enum class ColourScheme {
    system, // as the desktop
    light,
    dark,
    unknown
};
constexpr auto wordsOf(ColourScheme) {
    return std::to_array<std::string_view>({"system", "light", "dark"});
}

/// One of these settings. An unknown word is kept, so that the file keeps it too.
template <typename Enum>
class Choice {
    static_assert(wordsOf(Enum::unknown).size() == static_cast<std::size_t>(Enum::unknown));

public:
    /// `value` is known.
    Choice(Enum value) : m_value(value), m_word(wordsOf(value).at(static_cast<std::size_t>(value))) {}
    explicit Choice(std::string word) : m_word(std::move(word)) {
        const auto words = wordsOf(Enum::unknown);
        m_value = static_cast<Enum>(std::ranges::find(words, m_word) - words.begin());
    }

    operator Enum() const { return m_value; }
    const std::string& word() const { return m_word; }

private:
    Enum m_value = Enum::unknown;
    std::string m_word;
};

} // namespace fenlo
