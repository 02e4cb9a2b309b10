#include "WhisperEngine/Output/Subtitles.h"

#include "WhisperEngine/Output/SubtitleCues.h"
#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>

namespace fenlo::whisper {

namespace {

std::string clockTime(long time, char point) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%02ld:%02ld:%02ld%c%03ld", time / 3'600'000, time / 60'000 % 60,
                  time / 1000 % 60, point, time % 1000);
    return text.data();
}

/// A cue lasts a millisecond at least, as players pass over empty ones.
TimeSpan visible(TimeSpan span) {
    const long start = std::min(span.start, latestTime - 1);
    return {start, std::max(span.end, start + 1)};
}

std::string cueTimes(TimeSpan span, char point) {
    const TimeSpan shown = visible(span);
    return clockTime(shown.start, point) + " --> " + clockTime(shown.end, point) + "\n";
}

std::string escapedForVtt(const std::string& text) {
    return text::replaceAll(text::replaceAll(text::replaceAll(text, "&", "&amp;"), "<", "&lt;"), ">", "&gt;");
}

/// SubRip has no escapes; an arrow in the text would look like a line of times.
std::string withoutArrows(std::string text) {
    while (text.find("-->") != text.npos)
        text = text::replaceAll(text, "-->", "->");
    return text;
}

/// The words with the times at which they begin, which rise within the cue.
std::string timedWords(const SubtitleCue& cue) {
    std::string text;
    long last = cue.span.start;
    for (const SubtitleWord& word : cue.words) {
        const bool tells = word.span.start > last && word.span.start < cue.span.end;
        if (tells)
            last = word.span.start;
        const std::string time = tells ? "<" + clockTime(last, '.') + ">" : "";
        const bool newLine = word.text.starts_with('\n');
        text += (newLine ? "\n" : "") + time + escapedForVtt(word.text.substr(newLine ? 1 : 0));
    }
    return text::trimWhitespaceAndNewlines(text);
}

using Escape = std::function<std::string(const std::string&)>;

/// The text of the cue with this word underlined, the blanks around it left out.
std::string underlined(const SubtitleCue& cue, std::size_t index, const Escape& escape) {
    std::string text;
    for (std::size_t i = 0; i < cue.words.size(); ++i) {
        const std::string& word = cue.words[i].text;
        const std::size_t begin = std::min(word.find_first_not_of(" \n"), word.size());
        text += i == index ? word.substr(0, begin) + "<u>" + escape(word.substr(begin)) + "</u>" : escape(word);
    }
    return text::trimWhitespaceAndNewlines(text);
}

/// For each word a cue in which it is underlined, and between words that do not follow each other at once one without.
std::vector<SubtitleCue> highlighted(const SubtitleCue& cue, const Escape& escape) {
    std::vector<SubtitleCue> cues;
    const auto show = [&](TimeSpan span, std::string text) {
        cues.push_back({.span = visible(span), .text = std::move(text), .words = {}});
    };
    long last = cue.span.start;
    for (std::size_t i = 0; i < cue.words.size(); ++i) {
        const TimeSpan word = cue.words[i].span;
        const long start = std::max(word.start, last);
        if (start > last)
            show({last, start}, escape(text::trimWhitespaceAndNewlines(cue.text)));
        show({start, std::max(start, word.end)}, underlined(cue, i, escape));
        last = cues.back().span.end;
    }
    return cues;
}

/// Calls `use` with the times and the text of each cue as it stands in the file. Cues never overlap, as players would
/// show two at once.
void eachCue(std::span<const TranscriptionResult> results, const SubtitleLayout& layout, const Escape& escape,
             const std::function<void(const SubtitleCue&)>& use) {
    long lastEnd = 0;
    const auto useInOrder = [&](SubtitleCue cue) {
        cue.span = visible({std::max(cue.span.start, lastEnd), cue.span.end});
        lastEnd = cue.span.end;
        use(cue);
    };
    for (const SubtitleCue& cue : subtitleCues(results, layout))
        if (layout.highlightWords && !cue.words.empty())
            std::ranges::for_each(highlighted(cue, escape), useInOrder);
        else
            useInOrder({cue.span, escape(cue.text), cue.words});
}

} // namespace

std::string subRip(std::span<const TranscriptionResult> results, const SubtitleLayout& layout) {
    std::string text;
    int number = 0;
    eachCue(results, layout, withoutArrows, [&](const SubtitleCue& cue) {
        text += std::to_string(++number) + "\n" + cueTimes(cue.span, ',') + cue.text + "\n\n";
    });
    return text;
}

std::string webVtt(std::span<const TranscriptionResult> results, const SubtitleLayout& layout) {
    std::string text = "WEBVTT\n\n";
    eachCue(results, layout, escapedForVtt, [&](const SubtitleCue& cue) {
        text += cueTimes(cue.span, '.') + (cue.words.empty() ? cue.text : timedWords(cue)) + "\n\n";
    });
    return text;
}

} // namespace fenlo::whisper
