#include "shell/PillContent.h"

#include "shell/PillStyle.h"

namespace fenlo {

namespace {

constexpr double dotDiameter = 8;
constexpr double dotLeft = 14;
constexpr double textStart = dotLeft + dotDiameter + 11;

constexpr double separatorGap = 6;
constexpr double separatorDiameter = 3;

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

    void addCancelOffer() {
        m_layout.end += cancelGap;
        m_layout.picture.rules.push_back(
            {m_layout.end, (pillStyle::height - ruleHeight) / 2, ruleWidth, ruleHeight, pillStyle::cancelRule});
        m_layout.end += ruleWidth + cancelGap;
        addText(cancelOffer, PillFont::cancel, pillStyle::cancelText);
    }

    PillLayout take() { return std::move(m_layout); }

private:
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
    line.addText(content.displayText, content.useCompactDisplayFont ? PillFont::application : PillFont::text,
                 content.displayTextColor);
    if (content.showCancel)
        line.addCancelOffer();
    return line.take();
}

double badgeWidth(const std::string& badge, const MeasureText& measure) {
    return badge.empty() ? 0 : measure(badge, PillFont::application) + separatorGap + separatorDiameter + separatorGap;
}

} // namespace fenlo
