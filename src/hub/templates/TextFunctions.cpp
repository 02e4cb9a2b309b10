#include "base/Text.h"
#include "hub/templates/CodePoints.h"
#include "hub/templates/Operators.h"
#include "hub/templates/ValueText.h"

#include <algorithm>
#include <unicode/uchar.h>

/// Filters and methods of texts.
namespace fenlo::hub::templates {

namespace {

constexpr auto missing = std::string_view::npos;
constexpr std::int64_t widestIndent = 1000;

using Parts = std::vector<std::string_view>;

void addPart(Runtime& run, Parts& parts, std::string_view part) {
    run.charge(sizeof(std::string_view));
    parts.push_back(part);
}

Value listOf(Runtime& run, const Parts& parts) {
    std::vector<Value> items;
    items.reserve(parts.size());
    for (const std::string_view part : parts)
        items.push_back(run.text(std::string(part)));
    return run.list(std::move(items));
}

template <Ends ends>
Value stripped(Call& call) {
    const std::string_view text = call.selfText().utf8;
    return call.run.text(std::string(call.has(0) ? strip(text, ends, call.text(0)) : strip(text, ends)));
}

/// Splits at white space at most `most` times, below 0 without limit.
Parts splitBlanks(Runtime& run, std::string_view text, std::int64_t most) {
    Parts parts;
    for (text = strip(text, Ends::left); !text.empty(); text = strip(text, Ends::left)) {
        std::size_t end = most-- == 0 ? text.size() : 0;
        for (std::size_t at = end; end < text.size() && !isSpace(takeCodePoint(text, at)); end = at) {
        }
        addPart(run, parts, text.substr(0, end));
        text.remove_prefix(end);
    }
    return parts;
}

Parts splitAt(Runtime& run, std::string_view text, std::string_view separator, std::int64_t most) {
    Parts parts;
    for (std::size_t found = 0; most-- != 0 && (found = findFirst(text, separator)) != missing;
         text.remove_prefix(found + separator.size()))
        addPart(run, parts, text.substr(0, found));
    addPart(run, parts, text);
    return parts;
}

Parts splitAtFromEnd(Runtime& run, std::string_view text, std::string_view separator, std::int64_t most) {
    if (most < 0)
        return splitAt(run, text, separator, most);
    Parts parts;
    for (std::size_t found = 0; most-- > 0 && (found = findLast(text, separator)) != missing;
         text = text.substr(0, found)) {
        run.work(text.size());
        addPart(run, parts, text.substr(found + separator.size()));
    }
    addPart(run, parts, text);
    std::ranges::reverse(parts);
    return parts;
}

using Splitter = Parts (*)(Runtime& run, std::string_view text, std::string_view separator, std::int64_t most);

Value split(Call& call, Splitter splitter) {
    const std::string_view text = call.selfText().utf8;
    const std::int64_t most = call.integer(1, -1);
    call.run.work(text.size());
    if (!call.has(0))
        return listOf(call.run, splitBlanks(call.run, text, most));
    const std::string_view separator = call.text(0);
    if (separator.empty())
        call.fail("the separator is empty");
    return listOf(call.run, splitter(call.run, text, separator, most));
}

/// The lines; \r\n is one end of a line, and so are \v, \f, U+001C to U+001E, U+0085, U+2028 and U+2029.
Parts splitLines(Runtime& run, std::string_view text, bool keepsEnds) {
    Parts lines;
    std::size_t begin = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = at;
        const char32_t c = takeCodePoint(text, at);
        if (!((c >= 0x0A && c <= 0x0D) || (c >= 0x1C && c <= 0x1E) || c == 0x85 || c == 0x2028 || c == 0x2029))
            continue;
        if (c == '\r' && at < text.size() && text[at] == '\n')
            ++at;
        addPart(run, lines, text.substr(begin, (keepsEnds ? at : end) - begin));
        begin = at;
    }
    if (begin < text.size())
        addPart(run, lines, text.substr(begin));
    return lines;
}

template <bool fromEnd>
Value found(Call& call) {
    const std::string_view text = call.selfText().utf8;
    call.run.work(text.size());
    const std::size_t at = fromEnd ? findLast(text, call.text(0)) : findFirst(text, call.text(0));
    return at == missing ? std::int64_t{-1} : static_cast<std::int64_t>(countCodePoints(text.substr(0, at)));
}

Value countOf(Call& call) {
    const Text& text = call.selfText();
    const std::string_view what = call.text(0);
    call.run.work(text.utf8.size());
    if (what.empty())
        return static_cast<std::int64_t>(text.length) + 1;
    std::int64_t count = 0;
    for (std::string_view rest = text.utf8; true; ++count) {
        const std::size_t at = findFirst(rest, what);
        if (at == missing)
            return count;
        rest.remove_prefix(at + what.size());
    }
}

/// `startswith` and `endswith` take one text or a tuple of them.
template <bool atStart>
Value hasAffix(Call& call) {
    const std::string_view text = call.selfText().utf8;
    const auto isThere = [&](const Value& affix) {
        call.run.step();
        if (!asText(affix))
            call.failWants("a string", affix);
        const std::string_view wanted = asText(affix)->utf8;
        return atStart ? text.starts_with(wanted) : text.ends_with(wanted);
    };
    const List* several = asList(call[0]);
    return several ? std::ranges::any_of(several->items, isThere) : isThere(call[0]);
}

/// The first code point upper-cased, all others lower-cased.
std::string capitalized(std::string_view text) {
    std::size_t first = 0;
    if (!text.empty())
        takeCodePoint(text, first);
    return text::upper(text.substr(0, first)) + text::lower(text.substr(first));
}

/// Each word begins with a capital.
template <bool (*isBetweenWords)(char32_t)>
Value titled(Call& call) {
    const std::string_view text = call.selfText().utf8;
    std::string out;
    std::size_t word = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        if (!isBetweenWords(takeCodePoint(text, at)))
            continue;
        out += capitalized(text.substr(word, begin - word));
        out += text.substr(begin, at - begin);
        word = at;
    }
    return call.run.text(out + capitalized(text.substr(word)));
}

bool isNoLetter(char32_t c) {
    return !u_isalpha(static_cast<UChar32>(c));
}

bool isBlankOrOpening(char32_t c) {
    return isSpace(c) || std::u32string_view(U"-({[<").find(c) != std::u32string_view::npos;
}

Value isDigits(Call& call) {
    const std::string_view text = call.selfText().utf8;
    bool all = !text.empty();
    for (std::size_t at = 0; all && at < text.size();)
        all = u_isdigit(static_cast<UChar32>(takeCodePoint(text, at)));
    return all;
}

/// At most so many occurrences, below 0 all.
Value replaced(Call& call) {
    const std::string_view text = call.selfText().utf8;
    const std::string_view what = toText(call.run, call[0]).utf8;
    const std::string_view with = toText(call.run, call[1]).utf8;
    std::int64_t count = call.integer(2, -1);
    call.run.work(text.size());
    std::string out;
    std::size_t copied = 0;
    std::size_t from = 0;
    for (; count != 0 && from <= text.size(); --count) {
        const std::size_t found = findFirst(text, what, from);
        if (found == missing)
            break;
        call.run.step();
        call.run.put(out, text.substr(copied, found - copied));
        call.run.put(out, with);
        copied = from = found + what.size();
        if (what.empty()) { // before each code point, and at the end
            if (from == text.size())
                break;
            takeCodePoint(text, from);
        }
    }
    call.run.put(out, text.substr(copied));
    return call.run.text(std::move(out));
}

Value escaped(Call& call) {
    static constexpr std::string_view characters = "&<>\"'";
    static constexpr std::string_view entities[] = {"&amp;", "&lt;", "&gt;", "&#34;", "&#39;"};
    const std::string_view text = call.selfText().utf8;
    std::string out;
    for (const char& c : text) {
        const std::size_t found = characters.find(c);
        call.run.put(out, found == missing ? std::string_view(&c, 1) : entities[found]);
    }
    return call.run.text(std::move(out));
}

std::string indention(const Call& call, std::size_t parameter, std::int64_t fallback) {
    if (asText(call[parameter]))
        return std::string(call.text(parameter));
    return std::string(
        static_cast<std::size_t>(std::clamp(call.integer(parameter, fallback), std::int64_t{0}, widestIndent)), ' ');
}

Value indented(Call& call) {
    const std::string width = indention(call, 0, 4);
    const std::string text = call.selfText().utf8 + "\n"; // an empty last line is a line too
    std::string out;
    bool isFirst = true;
    for (const std::string_view line : splitLines(call.run, text, false)) {
        call.run.put(out, isFirst ? "" : "\n");
        if (isFirst ? call.flag(1) : !line.empty() || call.flag(2))
            call.run.put(out, width);
        call.run.put(out, line);
        isFirst = false;
    }
    return call.run.text(std::move(out));
}

Value toJson(Call& call) {
    JsonStyle style;
    style.escapesNonAscii = call.flag(0);
    style.sortsKeys = call.flag(3);
    if (call.has(1)) {
        style.indent = indention(call, 1, 0);
        style.between = ",";
    }
    if (const List* separators = asList(call[2]); separators && separators->items.size() == 2) {
        style.between = toText(call.run, separators->items[0]).utf8;
        style.afterKey = toText(call.run, separators->items[1]).utf8;
    }
    std::string out;
    printJson(call.run, call.self, style, out);
    return call.run.text(std::move(out));
}

Value asString(Call& call) {
    return &call.selfText();
}

constexpr NativeRow textRows[] = {
    {isFilter | isTextMethod, "capitalize", "",
     [](Call& call) { return call.run.text(capitalized(call.selfText().utf8)); }},
    {isTextMethod, "count", "sub", countOf},
    {isTextMethod, "endswith", "suffix", hasAffix<false>},
    {isFilter, "e escape", "", escaped},
    {isTextMethod, "find", "sub", found<false>},
    {isFilter, "indent", "width? first? blank?", indented},
    {isTextMethod, "isdigit", "", isDigits},
    {isTextMethod, "join", "iterable",
     [](Call& call) { return joined(call.run, itemsOf(call.run, call[0]), call.selfText().utf8); }},
    {isFilter | isTextMethod, "lower", "", [](Call& call) { return call.run.text(text::lower(call.selfText().utf8)); }},
    {isTextMethod, "lstrip", "chars?", stripped<Ends::left>},
    {isFilter | isTextMethod, "replace", "old new count?", replaced},
    {isTextMethod, "rfind", "sub", found<true>},
    {isTextMethod, "rsplit", "sep maxsplit?", [](Call& call) { return split(call, splitAtFromEnd); }},
    {isTextMethod, "rstrip", "chars?", stripped<Ends::right>},
    {isFilter, "safe string", "", asString},
    {isTextMethod, "split", "sep? maxsplit?", [](Call& call) { return split(call, splitAt); }},
    {isTextMethod, "splitlines", "keepends?",
     [](Call& call) { return listOf(call.run, splitLines(call.run, call.selfText().utf8, call.flag(0))); }},
    {isTextMethod, "startswith", "prefix", hasAffix<true>},
    {isTextMethod, "strip", "chars?", stripped<Ends::both>},
    {isFilter, "title", "", titled<isBlankOrOpening>},
    {isTextMethod, "title", "", titled<isNoLetter>},
    {isFilter, "tojson", "ensure_ascii? indent? separators? sort_keys?", toJson},
    {isFilter, "trim", "chars?", stripped<Ends::both>},
    {isFilter | isTextMethod, "upper", "", [](Call& call) { return call.run.text(text::upper(call.selfText().utf8)); }},
};

} // namespace

std::span<const NativeRow> textFunctions() {
    return textRows;
}

} // namespace fenlo::hub::templates
