#include "shell/PillContent.h"

#include "base/Text.h"
#include "shell/PillStyle.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace fenlo {

namespace {

constexpr double dotDiameter = 8;
constexpr double dotLeft = 14;
constexpr double textStart = dotLeft + dotDiameter + 11;

constexpr double separatorGap = 6;
constexpr double separatorDiameter = 3;

constexpr double wordsGap = 10;
constexpr char longestClock[] = "0000.00s"; // behind which the words stand, so that they stand still
constexpr char ellipsis[] = "…";
constexpr std::size_t mostWords = 200; // characters; more never fit

constexpr double cancelGap = 8;
constexpr double ruleWidth = 0.5;
constexpr double ruleHeight = 16;
constexpr char cancelOffer[] = "tap to stop";

Colour withAlpha(Colour colour, double alpha) {
    colour.alpha = alpha;
    return colour;
}

PillPicture::Oval dotOval(double diameter, Colour colour) {
    const double left = dotLeft + (dotDiameter - diameter) / 2;
    return {left, (pillStyle::height - diameter) / 2, diameter, colour};
}

/// Lays elements from the left to the right.
class Line {
public:
    explicit Line(const MeasureText& measure) : m_measure(measure) {}

    void addDot(const PillContent& content) {
        const auto glow = [&](double share) { return withAlpha(content.glowColor, content.dotPulse * share); };
        m_layout.picture.ovals = {dotOval(16, glow(0.35)), dotOval(12, glow(0.7)),
                                  dotOval(dotDiameter, withAlpha(content.dotColor, content.dotPulse))};
    }

    void addText(const std::string& text, PillFont font, Colour colour) {
        m_layout.picture.texts.push_back({m_layout.end, text, font, colour});
        m_layout.end += m_measure(text, font);
    }

    void addBadge(const std::string& badge, Colour colour) {
        if (badge.empty())
            return;
        addText(badge, PillFont::application, colour);
        m_layout.end += separatorGap;
        m_layout.picture.ovals.push_back(
            {m_layout.end, (pillStyle::height - separatorDiameter) / 2, separatorDiameter, pillStyle::separator});
        m_layout.end += separatorDiameter + separatorGap;
    }

    /// The room behind the clock, which began at `clock`. A text that is longer than any clock takes it.
    void addWords(const PillContent& content, double clock) {
        const double left = clock + m_measure(longestClock, PillFont::text) + wordsGap;
        const double right = left + pillStyle::wordsWidth;
        if (m_layout.end <= left && !content.words.empty()) {
            addRule(left - wordsGap);
            const bool isCut = content.words.starts_with(ellipsis);
            m_layout.end = isCut ? right - m_measure(content.words, PillFont::words) : left;
            addText(content.words, PillFont::words, content.displayTextColor);
        }
        m_layout.end = std::max(m_layout.end, right);
    }

    void addCancelOffer() {
        m_layout.end += cancelGap;
        addRule(m_layout.end);
        m_layout.end += ruleWidth + cancelGap;
        addText(cancelOffer, PillFont::cancel, pillStyle::cancelText);
    }

    double end() const { return m_layout.end; }
    PillLayout take() { return std::move(m_layout); }

private:
    void addRule(double x) {
        m_layout.picture.rules.push_back(
            {x, (pillStyle::height - ruleHeight) / 2, ruleWidth, ruleHeight, pillStyle::cancelRule});
    }

    const MeasureText& m_measure;
    PillLayout m_layout{{}, textStart};
};

} // namespace

PillLayout layOut(const PillContent& content, const MeasureText& measure) {
    Line line(measure);
    line.addDot(content);
    if (content.isCommandMode)
        line.addBadge(badge::command, withAlpha(pillStyle::commandDot, 0.9));
    line.addBadge(content.appLabel, pillStyle::badge);
    if (content.isReplacing)
        line.addBadge(badge::replace, pillStyle::badge);
    if (content.isOffline)
        line.addBadge(badge::offline, pillStyle::badge);
    line.addBadge(content.langCode, pillStyle::badge);
    const double clock = line.end();
    line.addText(content.displayText, content.useCompactDisplayFont ? PillFont::application : PillFont::text,
                 content.displayTextColor);
    if (content.hasWordsRoom)
        line.addWords(content, clock);
    if (content.showCancel)
        line.addCancelOffer();
    return line.take();
}

std::string fittingEnd(const std::string& line, const MeasureText& measure) {
    const auto fits = [&](const std::string& text) { return measure(text, PillFont::words) <= pillStyle::wordsWidth; };
    const std::string end = text::lastCharacters(line, mostWords);
    if (end == line && fits(line))
        return line;
    const std::vector<std::string_view> characters = text::characters(end);
    const auto from = [&](std::string_view first) {
        return ellipsis + end.substr(static_cast<std::size_t>(first.data() - end.data()));
    };
    const auto first =
        std::ranges::partition_point(characters, [&](std::string_view each) { return !fits(from(each)); });
    return first == characters.end() ? ellipsis : from(*first);
}

double badgeWidth(const std::string& badge, const MeasureText& measure) {
    return badge.empty() ? 0 : measure(badge, PillFont::application) + separatorGap + separatorDiameter + separatorGap;
}

} // namespace fenlo
