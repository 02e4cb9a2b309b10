#include "hub/tokenizers/Pattern.h"

#include <algorithm>
#include <cstdint>
#include <unicode/regex.h>
#include <unicode/unistr.h>
#include <utility>

namespace fenlo::hub {

namespace {

constexpr std::size_t longestExpression = 10'000; // bytes
constexpr int32_t matchTimeLimit = 200;           // ICU's unit, about a millisecond

/// Walks the UTF-8 text along with offsets into its UTF-16 form.
class Utf8Offset {
public:
    explicit Utf8Offset(std::string_view text) : m_text(text) {}

    std::size_t at(int32_t utf16) {
        while (m_utf16 < utf16 && m_utf8 < m_text.size()) {
            const auto lead = static_cast<unsigned char>(m_text[m_utf8]);
            m_utf8 += lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
            m_utf16 += lead < 0xF0 ? 1 : 2;
        }
        return m_utf8;
    }

private:
    std::string_view m_text;
    std::size_t m_utf8 = 0;
    int32_t m_utf16 = 0;
};

} // namespace

struct Pattern::Compiled {
    std::unique_ptr<icu::RegexPattern> expression;
};

Pattern Pattern::literal(std::string text) {
    Pattern pattern;
    pattern.m_literal = std::move(text);
    return pattern;
}

Pattern Pattern::regex(std::string_view expression) {
    Pattern pattern;
    pattern.m_regex = compile(expression);
    return pattern;
}

std::shared_ptr<const Pattern::Compiled> Pattern::compile(std::string_view expression) {
    UErrorCode status = U_ZERO_ERROR;
    const auto text = icu::UnicodeString::fromUTF8({expression.data(), static_cast<int32_t>(expression.size())});
    auto compiled = std::make_shared<Compiled>();
    compiled->expression.reset(icu::RegexPattern::compile(text, 0, status));
    return U_SUCCESS(status) ? compiled : nullptr;
}

Pattern Pattern::read(const JsonNode& node) {
    node.allowOnly({"String", "Regex"});
    if (node.has("String") == node.has("Regex"))
        node.fail("is neither a text nor a regular expression");
    if (node.has("String")) {
        Pattern pattern = literal(node.member("String").string());
        if (pattern.m_literal.empty())
            node.fail("is empty");
        return pattern;
    }
    const std::string expression = node.member("Regex").string();
    Pattern pattern;
    if (expression.size() <= longestExpression)
        pattern.m_regex = compile(expression);
    if (!pattern.m_regex)
        node.refuse("is no regular expression that this program understands: " + inQuotes(expression));
    return pattern;
}

std::vector<TextRange> Pattern::find(std::string_view text) const {
    std::vector<TextRange> found;
    if (!m_regex) {
        for (std::size_t at = text.find(m_literal); at != std::string_view::npos;
             at = text.find(m_literal, found.back().end))
            found.push_back({at, at + m_literal.size()});
        return found;
    }
    UErrorCode status = U_ZERO_ERROR;
    const auto input = icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())});
    const std::unique_ptr<icu::RegexMatcher> matcher(m_regex->expression->matcher(input, status));
    if (U_FAILURE(status))
        return found;
    matcher->setTimeLimit(matchTimeLimit, status);
    Utf8Offset offset(text);
    while (matcher->find(status) && U_SUCCESS(status)) {
        const std::size_t begin = offset.at(matcher->start(status));
        const std::size_t end = offset.at(matcher->end(status));
        if (begin < end)
            found.push_back({begin, end});
    }
    return found;
}

std::string Pattern::replace(std::string_view text, std::string_view replacement) const {
    std::string out;
    std::size_t done = 0;
    for (const TextRange& match : find(text)) {
        out.append(text.substr(done, match.begin - done)).append(replacement);
        done = match.end;
    }
    return out.append(text.substr(done));
}

double Pattern::growth(std::string_view replacement) const {
    const std::size_t shortestMatch = m_regex ? 1 : m_literal.size();
    return std::max(1.0, static_cast<double>(replacement.size()) / static_cast<double>(shortestMatch));
}

} // namespace fenlo::hub
