#include "hub/templates/Lexer.h"

#include "base/Json.h"
#include "base/Text.h"
#include "hub/templates/CodePoints.h"
#include "hub/templates/Runtime.h"

#include <algorithm>
#include <charconv>

namespace fenlo::hub::templates {

namespace {

using Kind = Token::Kind;

constexpr std::size_t largestSource = 1 << 20; // bytes

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

/// Line ends are all alike, and one at the very end does not count.
std::string prepare(std::string_view source) {
    std::string text = text::replaceAll(text::repairUtf8(source), "\r\n", "\n");
    std::ranges::replace(text, '\r', '\n');
    if (text.ends_with('\n'))
        text.pop_back();
    return text;
}

/// Appends what the escape behind a backslash at `at` means, and moves behind it; false when it is ill-formed.
bool takeEscape(std::string_view text, std::size_t& at, std::string& out) {
    static constexpr std::string_view letters = "ntr\\'\"abfv\n";
    static constexpr std::string_view meanings = "\n\t\r\\'\"\a\b\f\v"; // a newline means nothing
    const char letter = text[at++];
    const std::size_t known = letters.find(letter);
    const std::size_t digits = letter == 'x' ? 2 : letter == 'u' ? 4 : letter == 'U' ? 8 : 0;
    if (known != std::string_view::npos) {
        out += meanings.substr(known, 1);
    } else if (digits > 0) {
        std::uint32_t number = 0;
        const char* begin = text.data() + at;
        const char* end = std::from_chars(begin, begin + std::min(digits, text.size() - at), number, 16).ptr;
        appendCodePoint(out, number);
        at += static_cast<std::size_t>(end - begin);
        return end == begin + digits;
    } else { // any other backslash stays
        out += {'\\', letter};
    }
    return true;
}

class Lexer {
public:
    Lexer(std::string_view source, const std::string& name) : m_text(source), m_name(name) {}

    std::vector<Token> read() {
        while (m_at < m_text.size())
            readTextAndTag();
        add(Kind::end, "");
        return std::move(m_tokens);
    }

private:
    [[noreturn]] void fail(std::string_view fault) const { failTemplate(m_name, m_line, fault); }

    bool sees(std::string_view what) const { return m_text.substr(m_at).starts_with(what); }

    void moveTo(std::size_t end) {
        m_line += static_cast<int>(std::ranges::count(m_text.substr(m_at, end - m_at), '\n'));
        m_at = end;
    }

    void skipBlanks() { moveTo(m_text.size() - strip(m_text.substr(m_at), Ends::left).size()); }

    bool take(std::string_view what) {
        if (!sees(what))
            return false;
        moveTo(m_at + what.size());
        return true;
    }

    void add(Kind kind, std::string_view text) { m_tokens.push_back({kind, m_line, std::string(text)}); }

    std::size_t findTag(std::size_t from) const {
        for (std::size_t at = m_text.find('{', from); at != std::string_view::npos; at = m_text.find('{', at + 1))
            if (at + 1 < m_text.size() && std::string_view("{%#").find(m_text[at + 1]) != std::string_view::npos)
                return at;
        return m_text.size();
    }

    /// The text up to `end`, where a tag begins, less what the tag drops. `mark` is what follows its two characters.
    void addText(std::size_t end, char mark, bool isBlock) {
        std::string_view text = m_text.substr(m_at, end - m_at);
        if (mark == '-') {
            text = strip(text, Ends::right);
        } else if (mark != '+' && isBlock) {
            const std::size_t newline = text.rfind('\n');
            const std::size_t lineStart = newline == std::string_view::npos ? 0 : newline + 1;
            const bool startsLine = newline != std::string_view::npos || m_at == 0 || m_text[m_at - 1] == '\n';
            if (startsLine && strip(text.substr(lineStart)).empty())
                text = text.substr(0, lineStart);
        }
        if (!text.empty())
            add(Kind::text, text);
        moveTo(end);
    }

    char charAt(std::size_t at) const { return at < m_text.size() ? m_text[at] : ' '; }

    void readTextAndTag() {
        const std::size_t tag = findTag(m_at);
        if (tag == m_text.size())
            return addText(tag, '+', false);
        const char mark = charAt(tag + 2);
        const char type = m_text[tag + 1];
        addText(tag, mark, type != '{');
        moveTo(tag + (mark == '-' || mark == '+' ? 3 : 2));
        if (type == '#')
            return skipComment();
        if (type == '%' && readRaw(tag))
            return;
        const bool isOutput = type == '{';
        add(isOutput ? Kind::beginOutput : Kind::beginStatement, m_text.substr(tag, 2));
        readTokensUntil(isOutput ? "}}" : "%}");
        add(isOutput ? Kind::endOutput : Kind::endStatement, isOutput ? "}}" : "%}");
    }

    /// After a tag of a statement or a comment.
    void dropBehindBlock(char mark) {
        if (mark == '-')
            skipBlanks();
        else if (mark != '+')
            take("\n");
    }

    void skipComment() {
        const std::size_t end = m_text.find("#}", m_at);
        if (end == std::string_view::npos)
            fail("a comment does not end");
        const char mark = end > m_at ? m_text[end - 1] : ' ';
        moveTo(end + 2);
        dropBehindBlock(mark);
    }

    /// Whether a tag that begins at `at` says only this word; then `at` moves behind it, and its closing mark is told.
    bool takeWordTag(std::size_t& at, std::string_view word, char& mark) const {
        const auto skip = [&](std::size_t from) {
            return m_text.size() - strip(m_text.substr(from), Ends::left).size();
        };
        const std::size_t begin = skip(at + (charAt(at + 2) == '-' || charAt(at + 2) == '+' ? 3 : 2));
        const std::size_t close = skip(std::min(begin + word.size(), m_text.size()));
        mark = charAt(close);
        const std::size_t end = close + (mark == '-' || mark == '+' ? 1 : 0);
        if (!m_text.substr(begin).starts_with(word) || !m_text.substr(end).starts_with("%}"))
            return false;
        at = end + 2;
        return true;
    }

    /// The text between `raw` and `endraw`, when the tag at `tag` is that statement.
    bool readRaw(std::size_t tag) {
        char mark = 0;
        if (!takeWordTag(tag, "raw", mark))
            return false;
        moveTo(tag);
        if (mark == '-')
            skipBlanks();
        for (std::size_t at = m_at; (tag = at = m_text.find("{%", at)) != std::string_view::npos; at += 2)
            if (takeWordTag(at, "endraw", mark)) {
                addText(tag, charAt(tag + 2), true);
                moveTo(at);
                dropBehindBlock(mark);
                return true;
            }
        fail("\"raw\" has no \"endraw\"");
    }

    void readTokensUntil(std::string_view end) {
        std::string open; // the closing brackets that are missing, the innermost last
        const bool isBlock = end == "%}";
        for (skipBlanks(); m_at < m_text.size(); skipBlanks()) {
            const char mark = m_text[m_at];
            const bool isMarked = mark == '-' || (mark == '+' && isBlock);
            if (open.empty() && m_text.substr(m_at + (isMarked ? 1 : 0)).starts_with(end)) {
                moveTo(m_at + (isMarked ? 3 : 2));
                if (isBlock || mark == '-')
                    dropBehindBlock(mark);
                return;
            }
            readToken(open);
        }
        fail("a tag does not end with \"" + std::string(end) + "\"");
    }

    void readToken(std::string& open) {
        const char c = m_text[m_at];
        if (c == '"' || c == '\'')
            readString();
        else if (isDigit(c))
            readNumber();
        else if (isNameStart(c))
            readName();
        else
            readSymbol(open);
    }

    void readName() {
        std::size_t end = m_at;
        while (end < m_text.size() && (isNameStart(m_text[end]) || isDigit(m_text[end])))
            ++end;
        add(Kind::name, m_text.substr(m_at, end - m_at));
        m_at = end;
    }

    void readSymbol(std::string& open) {
        static constexpr std::string_view symbols[] = {"**", "//", "==", "!=", "<=", ">=", "+", "-", "*",
                                                       "/",  "%",  "~",  "<",  ">",  "=",  "(", ")", "[",
                                                       "]",  "{",  "}",  ".",  ":",  "|",  ",", ";"};
        const auto* symbol = std::ranges::find_if(symbols, [this](std::string_view it) { return sees(it); });
        if (symbol == std::end(symbols))
            fail("unexpected character " + inQuotes(m_text.substr(m_at, m_text[m_at] & 0x80 ? 4 : 1)));
        static constexpr std::string_view opening = "([{";
        static constexpr std::string_view closing = ")]}";
        const char c = symbol->front();
        if (const std::size_t bracket = opening.find(c); bracket != std::string_view::npos)
            open += closing[bracket];
        if (closing.find(c) != std::string_view::npos) {
            if (open.empty() || open.back() != c)
                fail("unexpected \"" + std::string(*symbol) + "\"");
            open.pop_back();
        }
        add(Kind::symbol, *symbol);
        m_at += symbol->size();
    }

    void readString() {
        const char quote = m_text[m_at];
        std::string meaning;
        std::size_t at = m_at + 1;
        while (at < m_text.size() && m_text[at] != quote) {
            if (m_text[at] != '\\') {
                meaning += m_text[at++];
                continue;
            }
            if (++at == m_text.size() || !takeEscape(m_text, at, meaning))
                fail("a string has an escape that is cut short");
        }
        if (at >= m_text.size())
            fail("a string does not end");
        add(Kind::string, meaning);
        moveTo(at + 1);
    }

    std::size_t digitsEnd(std::size_t at) const {
        while (isDigit(charAt(at)))
            ++at;
        return at;
    }

    void readNumber() {
        const bool isMember = !m_tokens.empty() && m_tokens.back().kind == Kind::symbol && m_tokens.back().text == ".";
        const std::size_t wholeEnd = digitsEnd(m_at);
        std::size_t end = wholeEnd;
        if (!isMember) { // "a.0.1" are two members
            if (charAt(end) == '.' && isDigit(charAt(end + 1)))
                end = digitsEnd(end + 1);
            if (charAt(end) == 'e' || charAt(end) == 'E') {
                const std::size_t exponent = end + (charAt(end + 1) == '+' || charAt(end + 1) == '-' ? 2 : 1);
                end = isDigit(charAt(exponent)) ? digitsEnd(exponent) : end;
            }
        }
        const std::string_view digits = m_text.substr(m_at, end - m_at);
        add(end == wholeEnd ? Kind::integer : Kind::floating, digits);
        m_at = end;
        Token& token = m_tokens.back();
        const char* last = digits.data() + digits.size();
        const std::errc error = end == wholeEnd ? std::from_chars(digits.data(), last, token.integer).ec
                                                : std::from_chars(digits.data(), last, token.number).ec;
        if (error != std::errc())
            fail("the number " + inQuotes(digits) + " is out of range");
    }

    std::string_view m_text;
    const std::string& m_name;
    std::size_t m_at = 0;
    int m_line = 1;
    std::vector<Token> m_tokens;
};

} // namespace

std::vector<Token> readTokens(std::string_view source, const std::string& name) {
    if (source.size() > largestSource)
        failTemplate(name, 1, "is longer than " + std::to_string(largestSource) + " bytes");
    const std::string text = prepare(source);
    return Lexer(text, name).read();
}

} // namespace fenlo::hub::templates
