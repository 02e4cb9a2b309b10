#include "app/ProgressLine.h"

#include "base/Text.h"

#include <algorithm>
#include <cmath>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <vector>

namespace fenlo {

namespace {

constexpr int widestBar = 30;
constexpr int narrowestBar = 10;
constexpr double rateSpan = 5.0;   // seconds
constexpr double shortest = 0.5;   // seconds: a rate over less than this jumps about
constexpr double patience = 86400; // seconds: a longer wait tells the reader nothing

int columnsOf(UChar32 character) {
    switch (u_charType(character)) {
    case U_NON_SPACING_MARK:
    case U_ENCLOSING_MARK:
    case U_FORMAT_CHAR:
        return 0;
    default:
        break;
    }
    switch (u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH)) {
    case U_EA_FULLWIDTH:
    case U_EA_WIDE:
        return 2;
    default:
        return 1;
    }
}

/// The characters of valid UTF-8, each as its bytes with its columns.
struct Character {
    std::string_view bytes;
    int columns;
};

std::vector<Character> charactersOf(std::string_view text) {
    std::vector<Character> characters;
    const auto length = static_cast<int32_t>(text.size());
    for (int32_t at = 0; at < length;) {
        const int32_t start = at;
        UChar32 character;
        U8_NEXT_OR_FFFD(text.data(), at, length, character);
        characters.push_back(
            {text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(at - start)), columnsOf(character)});
    }
    return characters;
}

/// What comes from models and servers must not steer the terminal.
std::string harmless(std::string_view text) {
    const std::string repaired = text::repairUtf8(text);
    std::string result;
    for (const Character& character : charactersOf(repaired)) {
        int32_t at = 0;
        UChar32 code;
        U8_NEXT_OR_FFFD(character.bytes.data(), at, static_cast<int32_t>(character.bytes.size()), code);
        switch (u_charType(code)) {
        case U_CONTROL_CHAR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR:
            result += ' ';
            break;
        case U_FORMAT_CHAR: // such as those that reverse the direction of writing
            break;
        default:
            result += character.bytes;
        }
    }
    return result;
}

std::string beginningOf(const std::string& text, int width) {
    std::string beginning;
    for (const Character& character : charactersOf(text)) {
        if ((width -= character.columns) < 0)
            break;
        beginning += character.bytes;
    }
    return beginning;
}

std::string endOf(const std::string& text, int width) {
    const auto characters = charactersOf(text);
    std::size_t length = 0;
    for (auto character = characters.rbegin(); character != characters.rend(); ++character) {
        if ((width -= character->columns) < 0)
            break;
        length += character->bytes.size();
    }
    return text.substr(text.size() - length);
}

std::string megabytes(double bytes) {
    return text::fixed(bytes / 1e6, 1);
}

std::string timeText(double seconds) {
    const auto whole = static_cast<long>(seconds);
    const auto twoDigits = [](long value) { return (value < 10 ? "0" : "") + std::to_string(value); };
    if (whole < 3600)
        return std::to_string(whole / 60) + ":" + twoDigits(whole % 60);
    return std::to_string(whole / 3600) + ":" + twoDigits(whole / 60 % 60) + ":" + twoDigits(whole % 60);
}

std::optional<double> fractionOf(const ProgressState& state) {
    if (state.total > 0)
        return std::min(1.0, static_cast<double>(state.received) / static_cast<double>(state.total));
    if (state.fraction && std::isfinite(*state.fraction))
        return std::clamp(*state.fraction, 0.0, 1.0);
    return {};
}

/// The figures behind the bar, the most important first.
std::vector<std::string> figuresOf(const ProgressState& state, std::optional<double> fraction) {
    std::vector<std::string> figures;
    if (fraction) {
        const std::string percent = std::to_string(static_cast<int>(*fraction * 100));
        figures.push_back(std::string(3 - percent.size(), ' ') + percent + " %");
    }
    if (state.total > 0)
        figures.push_back(megabytes(static_cast<double>(state.received)) + " of " +
                          megabytes(static_cast<double>(state.total)) + " MB");
    if (state.total > 0 && state.rate && *state.rate > 0) {
        figures.push_back(megabytes(*state.rate) + " MB/s");
        const auto missing = static_cast<double>(state.total - std::min(state.received, state.total));
        if (const double left = missing / *state.rate; left > 0 && left < patience)
            figures.push_back(timeText(std::ceil(left)) + " left");
    }
    return figures;
}

std::string barOf(double fraction, int width) {
    const int inner = width - 2;
    const int filled = static_cast<int>(fraction * inner);
    std::string bar(static_cast<std::size_t>(filled), '=');
    if (filled < inner)
        bar += '>';
    bar.resize(static_cast<std::size_t>(inner), ' ');
    return "[" + bar + "]";
}

} // namespace

int columnsOf(std::string_view text) {
    int columns = 0;
    for (const Character& character : charactersOf(text))
        columns += character.columns;
    return columns;
}

std::string progressLine(const ProgressState& state, int width) {
    const std::string label = beginningOf(harmless(state.label), width);
    const auto fraction = fractionOf(state);
    std::string behind;
    int room = width - columnsOf(label);
    for (const std::string& figure : figuresOf(state, fraction)) {
        const int columns = columnsOf(figure) + 2;
        if (columns > room)
            break;
        behind += "  " + figure;
        room -= columns;
    }
    if (!state.text.empty())
        return room > 2 ? label + behind + "  " + endOf(harmless(state.text), room - 2) : label + behind;
    if (!fraction || room < narrowestBar + 1)
        return label + behind;
    return label + " " + barOf(*fraction, std::min(widestBar, room - 1)) + behind.substr(1);
}

void RateMeter::add(double time, std::uint64_t sum) {
    if (!m_samples.empty() && sum < m_samples.back().sum)
        m_samples.clear(); // the count has begun again
    m_samples.push_back({time, sum});
    while (m_samples.size() > 2 && m_samples[1].time <= time - rateSpan)
        m_samples.pop_front();
}

std::optional<double> RateMeter::rate() const {
    if (m_samples.empty() || m_samples.back().time - m_samples.front().time < shortest)
        return {};
    return static_cast<double>(m_samples.back().sum - m_samples.front().sum) /
           (m_samples.back().time - m_samples.front().time);
}

} // namespace fenlo
