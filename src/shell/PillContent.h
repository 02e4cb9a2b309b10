#pragma once

#include "platform/PillWindow.h"

#include <functional>
#include <string>

namespace fenlo {

/// What a pill shows, before it is laid out.
struct PillContent {
    Colour dotColor;
    Colour glowColor;
    double dotPulse = 1.0;
    bool isPulsing = false;

    bool isCommandMode = false;
    std::string appLabel;
    bool isReplacing = false;
    bool isOffline = false;
    std::string langCode; // upper case, or empty

    std::string displayText;
    Colour displayTextColor;
    bool useCompactDisplayFont = false;
    bool hasWordsRoom = false;
    std::string words; // as fittingEnd() gives them
    bool showCancel = false;
};

struct PillLayout {
    PillPicture picture;
    double end = 0; // points from the left edge to where the last element ends
};

namespace badge {
inline constexpr char command[] = "AI";
inline constexpr char replace[] = "Replace";
inline constexpr char offline[] = "Offline Mode";
} // namespace badge

using MeasureText = std::function<double(const std::string& text, PillFont font)>;

/// The end of a line that fits the room for words, cut between two characters, with an ellipsis where it is cut.
std::string fittingEnd(const std::string& line, const MeasureText& measure);

PillLayout layOut(const PillContent& content, const MeasureText& measure);

/// The width of a badge and its separator; 0 for an empty badge.
double badgeWidth(const std::string& badge, const MeasureText& measure);

} // namespace fenlo
