#include "hub/tokenizers/steps/Pattern.h"

#include "base/Log.h"

#include <algorithm>
#include <cstdint>
#include <unicode/regex.h>
#include <unicode/unistr.h>
#include <utility>

namespace fenlo::hub {

namespace {

constexpr std::size_t longestExpression = 10'000; // bytes

/// How often the matcher may ask, which it does every ten thousand steps back. Expressions of published models go back
/// about three steps for each byte.
int patienceFor(std::string_view text) {
    return 200 + static_cast<int>(text.size() / 100);
}

/// Walks the UTF-8 text along with offsets into its UTF-16 form, which never decrease.
class TwoOffsets {
public:
    explicit TwoOffsets(std::string_view text) : m_text(text) {}

    std::size_t utf8At(int32_t utf16) {
        while (m_utf16 < utf16 && m_utf8 < m_text.size())
            step();
        return m_utf8;
    }

    int32_t utf16At(std::size_t utf8) {
        while (m_utf8 < utf8)
            step();
        return m_utf16;
    }

private:
    void step() {
        const auto lead = static_cast<unsigned char>(m_text[m_utf8]);
        m_utf8 += lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        m_utf16 += lead < 0xF0 ? 1 : 2;
    }

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
    // As the files' expressions mean it: ^ and $ are the ends of a line, and only a line feed ends one.
    constexpr uint32_t flags = UREGEX_MULTILINE | UREGEX_UNIX_LINES;
    compiled->expression.reset(icu::RegexPattern::compile(text, flags, status));
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
    PatternSearch(*this, text).find({0, text.size()}, found);
    std::erase_if(found, [](const TextRange& match) { return match.begin == match.end; });
    return found;
}

double Pattern::growth(std::string_view replacement) const {
    const std::size_t shortestMatch = m_regex ? 1 : m_literal.size();
    return std::max(1.0, static_cast<double>(replacement.size()) / static_cast<double>(shortestMatch));
}

/// The matcher and what it needs, for the whole text.
struct PatternSearch::Matching {
    Matching(const icu::RegexPattern& expression, std::string_view text)
        : input(icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())})),
          matcher(expression.matcher(input, status)), parts(text), matches(text), patienceLeft(patienceFor(text)) {
        if (U_SUCCESS(status))
            matcher->setMatchCallback(isPatient, this, status);
    }

    static UBool isPatient(const void* context, int32_t) {
        return --static_cast<Matching*>(const_cast<void*>(context))->patienceLeft > 0;
    }

    icu::UnicodeString input;
    UErrorCode status = U_ZERO_ERROR; // a failure is for good
    std::unique_ptr<icu::RegexMatcher> matcher;
    TwoOffsets parts;
    TwoOffsets matches;
    int patienceLeft;
};

PatternSearch::PatternSearch(const Pattern& pattern, std::string_view text)
    : m_pattern(pattern), m_text(text),
      m_matching(pattern.m_regex ? std::make_unique<Matching>(*pattern.m_regex->expression, text) : nullptr) {}

PatternSearch::~PatternSearch() = default;

void PatternSearch::find(const TextRange& part, std::vector<TextRange>& found) {
    if (!m_matching) {
        const std::string_view literal = m_pattern.m_literal;
        const std::string_view text = m_text.substr(0, part.end);
        for (std::size_t at = text.find(literal, part.begin); at != std::string_view::npos;
             at = text.find(literal, found.back().end))
            found.push_back({at, at + literal.size()});
        return;
    }
    Matching& it = *m_matching;
    if (U_FAILURE(it.status))
        return;
    const int32_t from = it.parts.utf16At(part.begin);
    it.matcher->region(from, it.parts.utf16At(part.end), it.status);
    while (it.matcher->find(it.status) && U_SUCCESS(it.status)) {
        const std::size_t begin = it.matches.utf8At(it.matcher->start(it.status));
        found.push_back({begin, it.matches.utf8At(it.matcher->end(it.status))});
    }
    if (U_FAILURE(it.status))
        logInfo("A tokenizer's regular expression gives up a text of {} bytes at byte {}: {}", m_text.size(),
                found.empty() ? part.begin : found.back().end, u_errorName(it.status));
}

} // namespace fenlo::hub
