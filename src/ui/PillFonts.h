#pragma once

#include "platform/PillWindow.h"

#include <QFont>
#include <QPointF>
#include <QTimer>
#include <array>
#include <optional>

class QPainter;

namespace fenlo {

/// The house font at this size in points, or the desktop's own where it is not installed.
QFont interfaceFont(double size, QFont::Weight weight);

/// The fonts of the pill: how wide their texts are and how they are drawn. They are looked up with the first text, or a
/// moment after they were made: to look up the first font of a program takes some ten milliseconds, which the start has
/// no use for.
///
/// Threads: main thread only.
class PillFonts {
public:
    PillFonts();

    double width(const std::string& text, PillFont font) const;
    /// Draws the text from `x`, its capitals centred on `middle`.
    void draw(QPainter& painter, double x, double middle, const PillPicture::Text& text) const;

private:
    struct Face {
        QFont font;
        double digitWidth = 0; // of every digit, where the font's own differ; else 0
    };
    const Face& face(PillFont font) const;

    mutable std::optional<std::array<Face, 4>> m_faces;
    QTimer m_lookUp;
};

} // namespace fenlo
