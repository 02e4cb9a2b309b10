#include "WhisperEngine/Output/SubtitleCues.h"

#include "base/Text.h"

#include <algorithm>

namespace fenlo::whisper {

namespace {

constexpr long longPause = 3000; // milliseconds: a cue does not stand on through it

/// A word and what is known of it.
struct Piece {
    SubtitleWord word;
    bool isTimed = true;
    bool beginsSegment = false;
};

/// The words of a text without times: each gets a part of the segment's time by its length.
std::vector<Piece> untimedPieces(const std::string& line, TimeSpan span) {
    std::vector<Piece> pieces;
    const auto length = static_cast<long>(text::characterCount(line));
    long before = 0;
    const auto timeAt = [&](long position) { return span.start + (span.end - span.start) * position / length; };
    for (const std::string& word : text::words(line)) {
        const auto size = static_cast<long>(text::characterCount(word));
        const long after = std::min(length, before + size + 1);
        pieces.push_back({.word = {" " + word, {timeAt(before), timeAt(after)}}, .isTimed = false});
        before = after;
    }
    return pieces;
}

std::vector<Piece> piecesOf(const TranscriptionSegment& segment, const std::string& line) {
    std::vector<Piece> pieces;
    if (segment.words)
        for (const WordTiming& word : *segment.words)
            if (std::string text = onOneLine(word.word); !text.empty())
                pieces.push_back({.word = {std::move(text), timeSpan(word.start, word.end)}});
    if (pieces.empty())
        pieces = untimedPieces(line, timeSpan(segment.start, segment.end));
    if (!pieces.empty())
        pieces.front().beginsSegment = true;
    return pieces;
}

/// Calls `use` with each segment that has a text, and that text on one line.
template <typename Use>
void eachSegment(std::span<const TranscriptionResult> results, Use use) {
    for (const TranscriptionResult& result : results)
        for (const TranscriptionSegment& segment : result.segments)
            if (const std::string line = trimmedLine(segment.text); !line.empty())
                use(segment, line);
}

SubtitleCue cueOf(const TranscriptionSegment& segment, const std::string& line) {
    SubtitleCue cue{.span = timeSpan(segment.start, segment.end), .text = line, .words = {}};
    if (segment.words)
        for (Piece& piece : piecesOf(segment, line))
            if (piece.isTimed)
                cue.words.push_back(std::move(piece.word));
    return cue;
}

SubtitleCue cueOf(std::vector<Piece> pieces) {
    SubtitleCue cue{.span = {pieces.front().word.span.start, pieces.back().word.span.end}, .text = {}, .words = {}};
    cue.span.end = std::max(cue.span.start, cue.span.end);
    const bool timed = std::ranges::all_of(pieces, &Piece::isTimed);
    for (Piece& piece : pieces) {
        cue.text += piece.word.text;
        if (timed)
            cue.words.push_back(std::move(piece.word));
    }
    return cue;
}

/// Fills lines, and cues with lines, by the rules of Whisper's published command line.
class Typesetter {
public:
    Typesetter(const SubtitleLayout& layout, std::vector<SubtitleCue>& cues) : m_layout(layout), m_cues(cues) {}

    void add(Piece piece) {
        const auto width = static_cast<int>(text::characterCount(piece.word.text));
        const bool endsSegment = keepsSegments() && piece.beginsSegment && !m_cue.empty();
        const bool afterPause = !keepsSegments() && piece.word.span.start - m_lastStart > longPause;
        const bool hasRoom = m_lineWidth + width <= m_layout.maxLineWidth;
        m_lastStart = piece.word.span.start;
        if (m_lineWidth > 0 && hasRoom && !afterPause && !endsSegment) {
            m_lineWidth += width;
            m_cue.push_back(std::move(piece));
            return;
        }
        piece.word.text = text::trimWhitespaceAndNewlines(piece.word.text);
        m_lineWidth = static_cast<int>(text::characterCount(piece.word.text));
        const bool isFull = !keepsSegments() && (afterPause || m_lines >= m_layout.maxLineCount);
        if (!m_cue.empty() && (isFull || endsSegment)) {
            finish();
        } else if (!m_cue.empty()) {
            ++m_lines;
            piece.word.text.insert(0, "\n");
        }
        m_cue.push_back(std::move(piece));
    }

    void finish() {
        if (!m_cue.empty())
            m_cues.push_back(cueOf(std::move(m_cue)));
        m_cue.clear();
        m_lines = 1;
    }

private:
    /// Without a limit of lines each segment has its cue.
    bool keepsSegments() const { return m_layout.maxLineCount == 0; }

    const SubtitleLayout& m_layout;
    std::vector<SubtitleCue>& m_cues;
    std::vector<Piece> m_cue;
    int m_lineWidth = 0; // characters
    int m_lines = 1;
    long m_lastStart = 0;
};

/// A cue ends when the next begins.
void holdApart(std::vector<SubtitleCue>& cues) {
    for (std::size_t i = 1; i < cues.size(); ++i) {
        TimeSpan& before = cues[i - 1].span;
        if (cues[i].span.start > before.start)
            before.end = std::min(before.end, cues[i].span.start);
    }
}

} // namespace

std::vector<SubtitleCue> subtitleCues(std::span<const TranscriptionResult> results, const SubtitleLayout& layout) {
    std::vector<SubtitleCue> cues;
    if (layout.maxLineWidth <= 0) {
        eachSegment(results,
                    [&](const auto& segment, const std::string& line) { cues.push_back(cueOf(segment, line)); });
    } else {
        Typesetter typesetter(layout, cues);
        eachSegment(results, [&](const auto& segment, const std::string& line) {
            for (Piece& piece : piecesOf(segment, line))
                typesetter.add(std::move(piece));
        });
        typesetter.finish();
    }
    holdApart(cues);
    return cues;
}

} // namespace fenlo::whisper
