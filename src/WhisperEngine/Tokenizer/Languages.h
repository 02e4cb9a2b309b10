#pragma once

#include <span>
#include <string_view>

namespace fenlo::whisper {

struct Language {
    std::string_view code;
    std::string_view name; // English, lower case
};

/// The hundred languages of Whisper in the order of their tokens. Older vocabularies end before the last of them.
std::span<const Language> languages();

/// Further names that are understood for some of them.
std::span<const Language> otherLanguageNames();

/// Languages that put no blanks between words.
std::span<const std::string_view> languagesWithoutBlanks();

} // namespace fenlo::whisper
