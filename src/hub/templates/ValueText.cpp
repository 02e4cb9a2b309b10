#include "hub/templates/ValueText.h"

#include "hub/templates/CodePoints.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace fenlo::hub::templates {

namespace {

std::string hex(char32_t number, int digits) {
    std::string text(static_cast<std::size_t>(digits), '0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, number >>= 4U)
        *digit = "0123456789abcdef"[number & 0xFU];
    return text;
}

/// The shortest digits that mean this number, as Python prints them: 1.0, 1e+16.
std::string floatText(double number) {
    std::array<char, 400> buffer{};
    const auto write = [&](std::chars_format format) {
        return std::string(buffer.data(),
                           std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, format).ptr);
    };
    const std::string scientific = write(std::chars_format::scientific);
    const int exponent = std::stoi(scientific.substr(scientific.find('e') + 1));
    if (exponent < -4 || exponent >= 16)
        return scientific;
    const std::string fixed = write(std::chars_format::fixed);
    return fixed.find('.') == std::string::npos ? fixed + ".0" : fixed;
}

/// What Python and JSON call the same: none, false, true, numbers that are none, infinity.
using Names = std::array<std::string_view, 5>;
constexpr Names pythonNames{"None", "False", "True", "nan", "inf"};
constexpr Names jsonNames{"null", "false", "true", "NaN", "Infinity"};

std::string simpleText(const Value& value, const Names& names) {
    if (const bool* flag = std::get_if<bool>(&value))
        return std::string(names[*flag ? 2 : 1]);
    if (isNone(value))
        return std::string(names[0]);
    if (!isFloat(value))
        return std::to_string(toInteger(value));
    const double number = toDouble(value);
    if (std::isnan(number))
        return std::string(names[3]);
    return std::isfinite(number) ? floatText(number) : (number < 0 ? "-" : "") + std::string(names[4]);
}

/// The letters behind a backslash, each with what it stands for.
std::string shortEscape(char32_t c, std::string_view letters) {
    for (std::size_t i = 0; i < letters.size(); i += 2)
        if (static_cast<char32_t>(letters[i]) == c)
            return {'\\', letters[i + 1]};
    return {};
}

std::string pythonEscape(char32_t c) {
    const std::string known = shortEscape(c, "''\\\\\nn\rr\tt");
    return !known.empty() ? known : c <= 0xFF ? "\\x" + hex(c, 2) : c <= 0xFFFF ? "\\u" + hex(c, 4) : "\\U" + hex(c, 8);
}

std::string jsonEscape(char32_t c) {
    const std::string known = shortEscape(c, "\"\"\\\\\nn\rr\tt\bb\ff");
    if (!known.empty() || c <= 0xFFFF)
        return known.empty() ? "\\u" + hex(c, 4) : known;
    c -= 0x10000;
    return "\\u" + hex(0xD800 + (c >> 10U), 4) + "\\u" + hex(0xDC00 + (c & 0x3FFU), 4);
}

/// Prints one value as Python's repr() or as JSON.
class Printer {
public:
    /// Without a style as Python.
    Printer(Runtime& run, const JsonStyle* json, std::string& out) : m_run(run), m_json(json), m_out(out) {}

    void print(const Value& value) {
        m_run.step();
        const Runtime::Level level(m_run);
        if (const Text* text = asText(value))
            printText(text->utf8);
        else if (const List* list = asList(value))
            printCollection(list->isTuple && !m_json ? "()" : "[]", list->items,
                            [this](const Value& item) { print(item); });
        else if (const Dict* dict = asDict(value); dict && !(dict->isNamespace && m_json))
            printDict(*dict);
        else if (isNone(value) || isNumber(value))
            put(simpleText(value, m_json ? jsonNames : pythonNames));
        else if (m_json)
            m_run.fail("tojson: " + std::string(kindName(value)) + " has no form in JSON");
        else
            put(isUndefined(value) ? "Undefined" : "<" + std::string(kindName(value).substr(2)) + ">");
    }

private:
    void put(std::string_view text) { m_run.put(m_out, text); }

    void printText(std::string_view text) {
        const bool isDouble =
            m_json || (text.find('\'') != std::string_view::npos && text.find('"') == std::string_view::npos);
        const char quote = isDouble ? '"' : '\'';
        const auto isPlain = [&](char32_t c) {
            if (c == static_cast<char32_t>(quote) || c == '\\')
                return false;
            return m_json ? c >= 0x20 && (c < 0x7F || !m_json->escapesNonAscii) : isPrintable(c);
        };
        put({&quote, 1});
        std::size_t copied = 0;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t begin = at;
            const char32_t c = takeCodePoint(text, at);
            if (isPlain(c))
                continue;
            put(text.substr(copied, begin - copied));
            put(m_json ? jsonEscape(c) : pythonEscape(c));
            copied = at;
        }
        put(text.substr(copied));
        put({&quote, 1});
    }

    void printKey(const Value& key) {
        if (m_json && !asText(key))
            printText(simpleText(key, jsonNames));
        else
            print(key);
    }

    void printDict(const Dict& dict) {
        std::vector<Dict::Entry> sorted;
        if (m_json && m_json->sortsKeys) {
            m_run.charge(dict.entries.size() * sizeof(Dict::Entry));
            sorted = dict.entries;
            std::ranges::stable_sort(sorted, KeyOrder(), &Dict::Entry::first);
        }
        printCollection("{}", sorted.empty() ? dict.entries : sorted, [this](const Dict::Entry& entry) {
            printKey(entry.first);
            put(m_json ? m_json->afterKey : ": ");
            print(entry.second);
        });
    }

    template <typename Items, typename PrintItem>
    void printCollection(std::string_view brackets, const Items& items, const PrintItem& printItem) {
        put(brackets.substr(0, 1));
        ++m_level;
        for (const auto& item : items) {
            if (&item != &items.front())
                put(m_json ? m_json->between : ", ");
            breakLine();
            printItem(item);
        }
        --m_level;
        if (!items.empty())
            breakLine();
        if (brackets == "()" && items.size() == 1)
            put(",");
        put(brackets.substr(1));
    }

    void breakLine() {
        if (!m_json || !m_json->indent)
            return;
        put("\n");
        for (int i = 0; i < m_level; ++i)
            put(*m_json->indent);
    }

    Runtime& m_run;
    const JsonStyle* m_json;
    std::string& m_out;
    int m_level = 0;
};

template <typename Number, typename How>
std::optional<Number> parseWhole(std::string_view text, How how) {
    text = strip(text);
    if (text.starts_with('+') && text.substr(1, 1) != "-")
        text.remove_prefix(1);
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, how);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

} // namespace

void print(Runtime& run, const Value& value, std::string& out) {
    if (const Text* text = asText(value))
        run.put(out, text->utf8);
    else if (!isUndefined(value))
        Printer(run, nullptr, out).print(value);
}

const Text& toText(Runtime& run, const Value& value) {
    if (const Text* text = asText(value))
        return *text;
    std::string printed;
    print(run, value, printed);
    return *asText(run.text(std::move(printed)));
}

Value joined(Runtime& run, const std::vector<Value>& items, std::string_view separator) {
    std::string out;
    for (std::size_t i = 0; i < items.size(); ++i) {
        run.step();
        run.put(out, i > 0 ? separator : std::string_view());
        print(run, items[i], out);
    }
    return run.text(std::move(out));
}

void printJson(Runtime& run, const Value& value, const JsonStyle& style, std::string& out) {
    Printer(run, &style, out).print(value);
}

std::optional<std::int64_t> parseInteger(std::string_view text, int base) {
    return parseWhole<std::int64_t>(text, base);
}

std::optional<double> parseFloat(std::string_view text) {
    return parseWhole<double>(text, std::chars_format::general);
}

} // namespace fenlo::hub::templates
