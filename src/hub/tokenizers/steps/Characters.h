#pragma once

#include "hub/tokenizers/AlignedText.h"

#include <cstddef>
#include <string_view>
#include <utility>

/// Code points of texts that are valid UTF-8, and what they are.
namespace fenlo::hub {

/// Takes the code point at `at`, which moves behind it; takeBefore the one that ends there.
char32_t takeAt(std::string_view text, std::size_t& at);
char32_t takeBefore(std::string_view text, std::size_t& at);

/// Of the property White_Space.
bool isBlank(char32_t c);
/// As the regular expression \w has it.
bool isWordCharacter(char32_t c);
/// Of category P, or one of the signs of ASCII, such as $ and ^, which are of others.
bool isPunctuation(char32_t c);
/// Of category N.
bool isNumber(char32_t c);

/// The other end, in bytes, of the white space that begins at `begin` or ends at `end`.
std::size_t blanksEnd(std::string_view text, std::size_t begin);
std::size_t blanksBegin(std::string_view text, std::size_t end);

/// Whether the character that begins at `begin`, or ends at `end`, belongs to a word; false outside the text.
bool isWordAt(std::string_view text, std::size_t begin);
bool isWordBefore(std::string_view text, std::size_t end);

/// Writes the text anew: calls `write(writer, c, range)` for each code point, with its bytes of the old text. What that
/// does not write is kept.
template <typename Write>
void rewriteCharacters(AlignedText& text, Write write) {
    AlignedTextWriter writer(text);
    for (std::size_t at = 0; at < writer.oldText().size();) {
        const std::size_t begin = at;
        const char32_t c = takeAt(writer.oldText(), at);
        write(writer, c, TextRange{begin, at});
    }
    writer.finish();
}

} // namespace fenlo::hub
