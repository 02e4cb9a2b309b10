#include "WhisperEngine/Output/TranscriptText.h"

#include "base/Text.h"

#include <algorithm>
#include <cmath>

namespace fenlo::whisper {

namespace {

long milliseconds(float seconds) {
    const double value = std::round(static_cast<double>(seconds) * 1000);
    if (!(value > 0)) // also for NaN
        return 0;
    return value < latestTime ? static_cast<long>(value) : latestTime;
}

} // namespace

TimeSpan timeSpan(float start, float end) {
    const long begin = milliseconds(start);
    return {begin, std::max(begin, milliseconds(end))};
}

std::string cleaned(const std::string& text) {
    std::string clean = text::repairUtf8(text);
    for (std::size_t open = 0; (open = clean.find("<|", open)) != clean.npos;) {
        const std::size_t close = clean.find("|>", open + 2);
        if (close == clean.npos)
            break;
        clean.erase(open, close + 2 - open);
    }
    return clean;
}

std::string onOneLine(const std::string& text) {
    std::string line = cleaned(text);
    for (const char* lineEnd : {"\u0085", "\u2028", "\u2029"})
        line = text::replaceAll(line, lineEnd, " ");
    for (char& c : line)
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7F)
            c = ' ';
    return line;
}

std::string trimmedLine(const std::string& text) {
    return text::trimWhitespaceAndNewlines(onOneLine(text));
}

} // namespace fenlo::whisper
