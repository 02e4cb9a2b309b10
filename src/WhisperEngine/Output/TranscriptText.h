#pragma once

#include <string>

/// The texts and times of results as documents need them. Results may hold anything.
namespace fenlo::whisper {

/// Valid UTF-8 without markers such as "<|0.00|>".
std::string cleaned(const std::string& text);

/// That, with line ends, tabs and other control characters as blanks.
std::string onOneLine(const std::string& text);

/// That, without blanks at its ends.
std::string trimmedLine(const std::string& text);

inline constexpr long latestTime = 100L * 3600 * 1000 - 1; // milliseconds: subtitles have two digits for the hours

struct TimeSpan {
    long start = 0; // milliseconds, in [0, latestTime]
    long end = 0;   // not before the start
};

/// From seconds, which may be negative, in the wrong order or NaN.
TimeSpan timeSpan(float start, float end);

} // namespace fenlo::whisper
