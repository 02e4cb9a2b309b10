#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Unicode text on UTF-8 strings, by ICU. A *character* is a grapheme cluster (UAX #29), what a person counts as one.
/// *Whitespace* is category Zs and tab; *whitespace and newlines* adds U+000A to U+000D, U+0085, U+2028 and U+2029;
/// *punctuation* is category P.
///
/// Threads: all functions are pure and safe on any thread.
/// Errors:  none. Input that is not valid UTF-8 is treated as if repaired.
namespace fenlo::text {

/// Replaces every ill-formed sequence with U+FFFD. Text from outside passes here once.
std::string repairUtf8(std::string_view text);

/// The text without what a terminal or an application would obey: control sequences that begin with ESC [ or U+009B,
/// and all control characters but newline and tab. Carriage return and U+0085 become newlines. Joiners and direction
/// marks, which some scripts need, stay.
std::string withoutControls(std::string_view text);

std::size_t characterCount(std::string_view text);
/// The characters in order, as parts of the text.
std::vector<std::string_view> characters(std::string_view text);
std::string firstCharacters(std::string_view text, std::size_t count);
std::string lastCharacters(std::string_view text, std::size_t count);

std::string trimWhitespace(std::string_view text);
std::string trimWhitespaceAndNewlines(std::string_view text);
std::string trimPunctuation(std::string_view text);

std::string lower(std::string_view text);
std::string upper(std::string_view text);
/// Lower-cased, with a capital at the start of each word: "Next Steps".
std::string capitalised(std::string_view text);
bool startsWithUpper(std::string_view text);
bool startsWithLetter(std::string_view text);

/// Splits at whitespace and newlines; empty pieces are dropped.
std::vector<std::string> words(std::string_view text);
/// Splits at each occurrence of the separator; empty pieces are kept.
std::vector<std::string> split(std::string_view text, char separator);
std::string join(const std::vector<std::string>& pieces, std::string_view separator);
std::string replaceAll(std::string_view text, std::string_view what, std::string_view with);

/// A number with so many digits after a point, in every locale.
std::string fixed(double value, int decimals);

/// "true" or "false", for the messages.
std::string boolean(bool value);

/// A pattern that matches exactly this text.
std::string quotePattern(std::string_view literal);

enum class CaseSensitivity { sensitive, insensitive };

/// A compiled ICU regular expression. Compile constant patterns once.
class Regex {
public:
    /// An invalid pattern makes an expression that finds nothing.
    explicit Regex(std::string_view pattern, CaseSensitivity sensitivity = CaseSensitivity::sensitive);
    Regex(Regex&&) noexcept;
    Regex& operator=(Regex&&) noexcept;
    ~Regex();

    bool find(std::string_view text) const;
    /// `replacement` may use $1 for groups. The text comes back as it was when the match fails.
    std::string replaceAll(std::string_view text, std::string_view replacement) const;
    /// The same with a literal replacement.
    std::string replaceAllWithLiteral(std::string_view text, std::string_view literal) const;

private:
    struct Pattern;
    std::unique_ptr<Pattern> m_pattern;
};

} // namespace fenlo::text
