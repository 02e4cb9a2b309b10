#include "base/Text.h"

#include <array>
#include <charconv>
#include <unicode/brkiter.h>
#include <unicode/regex.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>
#include <utility>

namespace fenlo::text {

namespace {

icu::UnicodeString toUnicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())});
}

std::string toUtf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

bool isAscii(std::string_view text) {
    for (const char c : text)
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    return true;
}

/// Calls `use` with an iterator over the character boundaries, which are byte offsets into the text.
template <typename Use>
std::size_t withCharacters(std::string_view text, Use use) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> characters(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    UText input = UTEXT_INITIALIZER;
    utext_openUTF8(&input, text.data(), static_cast<int64_t>(text.size()), &status);
    std::size_t result = 0;
    if (U_SUCCESS(status)) {
        characters->setText(&input, status);
        result = use(*characters);
    }
    utext_close(&input);
    return result;
}

bool isWhitespace(UChar32 c) {
    return c == '\t' || u_charType(c) == U_SPACE_SEPARATOR;
}

bool isWhitespaceOrNewline(UChar32 c) {
    return isWhitespace(c) || (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isPunctuation(UChar32 c) {
    return u_ispunct(c) != 0;
}

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD"; // U+FFFD

struct CodePoint {
    UChar32 value;          // negative where the bytes are not UTF-8
    std::string_view bytes; // as they stand in the text
};

/// Takes the first code point off a text that is not empty.
CodePoint takeCodePoint(std::string_view& text) {
    std::size_t size = 0;
    UChar32 value = U_SENTINEL;
    U8_NEXT(reinterpret_cast<const uint8_t*>(text.data()), size, text.size(), value);
    const std::string_view bytes = text.substr(0, size);
    text.remove_prefix(size);
    return {value, bytes};
}

/// Negative when there is none.
UChar32 firstCodePoint(std::string_view text) {
    return text.empty() ? U_SENTINEL : takeCodePoint(text).value;
}

template <typename Matches>
std::string trim(std::string_view text, Matches matches) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    auto end = static_cast<int32_t>(text.size());
    int32_t start = 0;
    while (start < end) {
        int32_t next = start;
        UChar32 c = 0;
        U8_NEXT(bytes, next, end, c);
        if (c < 0 || !matches(c))
            break;
        start = next;
    }
    while (end > start) {
        int32_t previous = end;
        UChar32 c = 0;
        U8_PREV(bytes, start, previous, c);
        if (c < 0 || !matches(c))
            break;
        end = previous;
    }
    return std::string(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
}

constexpr UChar32 escape = 0x1B;
constexpr UChar32 sequenceIntroducer = 0x9B; // what ESC [ is in one
constexpr UChar32 nextLine = 0x85;

/// The part of a control sequence after its introducer: parameters, intermediates and one final byte.
std::size_t sequenceLength(std::string_view text) {
    const auto skip = [&](std::size_t at, char first, char last) {
        while (at < text.size() && text[at] >= first && text[at] <= last)
            ++at;
        return at;
    };
    const std::size_t final = skip(skip(0, '0', '?'), ' ', '/');
    return skip(final, '@', '~') > final ? final + 1 : final;
}

/// The text with a backslash before each of the characters.
std::string escapeEach(std::string_view text, std::string_view characters) {
    std::string escaped;
    for (const char c : text) {
        if (characters.find(c) != std::string_view::npos)
            escaped += '\\';
        escaped += c;
    }
    return escaped;
}

} // namespace

std::string repairUtf8(std::string_view text) {
    if (isAscii(text))
        return std::string(text);
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const CodePoint c = takeCodePoint(text);
        out += c.value < 0 ? replacementCharacter : c.bytes;
    }
    return out;
}

std::string withoutControls(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const auto [c, bytes] = takeCodePoint(text);
        if (c == sequenceIntroducer)
            text.remove_prefix(sequenceLength(text));
        else if (c == escape && text.starts_with('['))
            text.remove_prefix(1 + sequenceLength(text.substr(1)));
        else if ((c == '\r' && !text.starts_with('\n')) || c == nextLine)
            out += '\n';
        else if (c < 0)
            out += replacementCharacter;
        else if (c == '\n' || c == '\t' || u_charType(c) != U_CONTROL_CHAR)
            out += bytes;
    }
    return out;
}

std::size_t characterCount(std::string_view text) {
    return withCharacters(text, [](icu::BreakIterator& characters) {
        std::size_t count = 0;
        characters.first();
        while (characters.next() != icu::BreakIterator::DONE)
            ++count;
        return count;
    });
}

std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> out;
    withCharacters(text, [&](icu::BreakIterator& characters) {
        auto start = static_cast<std::size_t>(characters.first());
        for (int32_t at = characters.next(); at != icu::BreakIterator::DONE; at = characters.next()) {
            const auto end = static_cast<std::size_t>(at);
            out.push_back(text.substr(start, end - start));
            start = end;
        }
        return out.size();
    });
    return out;
}

std::string firstCharacters(std::string_view text, std::size_t count) {
    if (text.size() <= count)
        return std::string(text);
    const std::size_t end = withCharacters(text, [&](icu::BreakIterator& characters) {
        int32_t at = characters.first();
        for (std::size_t i = 0; i < count && at != icu::BreakIterator::DONE; ++i)
            at = characters.next();
        return at == icu::BreakIterator::DONE ? text.size() : static_cast<std::size_t>(at);
    });
    return std::string(text.substr(0, end));
}

std::string lastCharacters(std::string_view text, std::size_t count) {
    if (text.size() <= count)
        return std::string(text);
    const std::size_t start = withCharacters(text, [&](icu::BreakIterator& characters) {
        int32_t at = characters.last();
        for (std::size_t i = 0; i < count && at != icu::BreakIterator::DONE; ++i)
            at = characters.previous();
        return at == icu::BreakIterator::DONE ? std::size_t(0) : static_cast<std::size_t>(at);
    });
    return std::string(text.substr(start));
}

std::string trimWhitespace(std::string_view text) {
    return trim(text, isWhitespace);
}

std::string trimWhitespaceAndNewlines(std::string_view text) {
    return trim(text, isWhitespaceOrNewline);
}

std::string trimPunctuation(std::string_view text) {
    return trim(text, isPunctuation);
}

std::string lower(std::string_view text) {
    if (isAscii(text)) {
        std::string lowered(text);
        for (char& letter : lowered)
            if (letter >= 'A' && letter <= 'Z')
                letter = static_cast<char>(letter - 'A' + 'a');
        return lowered;
    }
    return toUtf8(toUnicode(text).toLower(icu::Locale::getRoot()));
}

std::string upper(std::string_view text) {
    return toUtf8(toUnicode(text).toUpper(icu::Locale::getRoot()));
}

std::string capitalised(std::string_view text) {
    return toUtf8(toUnicode(text).toTitle(nullptr, icu::Locale::getRoot()));
}

bool startsWithUpper(std::string_view text) {
    const UChar32 first = firstCodePoint(text);
    return first >= 0 && u_isUUppercase(first);
}

bool startsWithLetter(std::string_view text) {
    const UChar32 first = firstCodePoint(text);
    return first >= 0 && u_isalpha(first);
}

std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> out;
    std::string word;
    while (!text.empty()) {
        const auto [c, bytes] = takeCodePoint(text);
        if (c < 0 || !isWhitespaceOrNewline(c))
            word += bytes;
        else if (!word.empty())
            out.push_back(std::exchange(word, {}));
    }
    if (!word.empty())
        out.push_back(std::move(word));
    return out;
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> out;
    std::size_t start = 0;
    for (std::size_t at = text.find(separator); at != std::string_view::npos; at = text.find(separator, start)) {
        out.emplace_back(text.substr(start, at - start));
        start = at + 1;
    }
    out.emplace_back(text.substr(start));
    return out;
}

std::string join(const std::vector<std::string>& pieces, std::string_view separator) {
    std::string out;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0)
            out += separator;
        out += pieces[i];
    }
    return out;
}

std::string replaceAll(std::string_view text, std::string_view what, std::string_view with) {
    if (what.empty())
        return std::string(text);
    std::string out;
    std::size_t start = 0;
    for (std::size_t at = text.find(what); at != std::string_view::npos; at = text.find(what, start)) {
        out.append(text.substr(start, at - start)).append(with);
        start = at + what.size();
    }
    out.append(text.substr(start));
    return out;
}

std::string boolean(bool value) {
    return value ? "true" : "false";
}

std::string fixed(double value, int decimals) {
    std::array<char, 400> digits{};
    const auto result =
        std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, decimals);
    return {digits.data(), result.ptr};
}

std::string quotePattern(std::string_view literal) {
    return escapeEach(literal, "\\.*+?^$|()[]{}-&#~/");
}

struct Regex::Pattern {
    std::unique_ptr<icu::RegexPattern> compiled;
};

Regex::Regex(std::string_view pattern, CaseSensitivity sensitivity) : m_pattern(std::make_unique<Pattern>()) {
    UErrorCode status = U_ZERO_ERROR;
    const uint32_t flags = sensitivity == CaseSensitivity::insensitive ? UREGEX_CASE_INSENSITIVE : 0;
    m_pattern->compiled.reset(icu::RegexPattern::compile(toUnicode(pattern), flags, status));
    if (U_FAILURE(status))
        m_pattern->compiled.reset();
}

Regex::Regex(Regex&&) noexcept = default;
Regex& Regex::operator=(Regex&&) noexcept = default;
Regex::~Regex() = default;

bool Regex::find(std::string_view text) const {
    if (!m_pattern->compiled)
        return false;
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString input = toUnicode(text);
    const std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->compiled->matcher(input, status));
    return U_SUCCESS(status) && matcher->find();
}

std::string Regex::replaceAll(std::string_view text, std::string_view replacement) const {
    if (!m_pattern->compiled)
        return std::string(text);
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString input = toUnicode(text);
    const std::unique_ptr<icu::RegexMatcher> matcher(m_pattern->compiled->matcher(input, status));
    if (U_FAILURE(status))
        return std::string(text);
    const icu::UnicodeString replaced = matcher->replaceAll(toUnicode(replacement), status);
    return U_SUCCESS(status) ? toUtf8(replaced) : std::string(text);
}

std::string Regex::replaceAllWithLiteral(std::string_view text, std::string_view literal) const {
    return replaceAll(text, escapeEach(literal, "\\$"));
}

} // namespace fenlo::text
