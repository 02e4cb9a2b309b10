#pragma once

#include "platform/PillWindow.h"

/// Geometry in points and colours of the pill.
namespace fenlo::pillStyle {

inline constexpr double height = 34;
inline constexpr double cornerRadius = height / 2;
inline constexpr double baseWidth = 98;
inline constexpr double minimumExpandedWidth = 180;
inline constexpr double cancelRoom = 75;
inline constexpr double distanceFromTop = 48; // of pill and card, to the screen's top edge
inline constexpr double wordsWidth = 260;
inline constexpr double rightMargin = 14; // kept free when a pill grows to fit its text
inline constexpr double outlineWidth = 0.5;
inline constexpr double outlineInset = 0.25;

inline constexpr Colour backgroundTop{0.14, 0.14, 0.16, 0.96};
inline constexpr Colour backgroundBottom{0.08, 0.08, 0.10, 0.96};
inline constexpr Colour outline{1, 1, 1, 0.07};
inline constexpr Colour recordingDot{1.0, 0.32, 0.32, 1.0};
inline constexpr Colour recordingGlow{1.0, 0.32, 0.32, 0.2};
inline constexpr Colour processingDot{1.0, 0.72, 0.28, 1.0};
inline constexpr Colour processingGlow{1.0, 0.72, 0.28, 0.16};
inline constexpr Colour commandDot{0.58, 0.40, 1.0, 1.0};
inline constexpr Colour commandGlow{0.58, 0.40, 1.0, 0.2};
inline constexpr Colour text{1, 1, 1, 0.8};
inline constexpr Colour processingText{1, 1, 1, 0.35};
inline constexpr Colour badge{1, 1, 1, 0.6};
inline constexpr Colour separator{1, 1, 1, 0.25};
inline constexpr Colour cancelRule{1, 1, 1, 0.1};
inline constexpr Colour cancelText{1, 1, 1, 0.5};

} // namespace fenlo::pillStyle
