#pragma once

#include "platform/PillWindow.h"

#include <QFont>
#include <QPointF>
#include <array>

class QPainter;

namespace fenlo {

/// The house font at this size in points, or the desktop's own where it is not installed.
QFont interfaceFont(double size, QFont::Weight weight);

/// The fonts of the pill: how wide their texts are and how they are drawn.
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
    const Face& face(PillFont font) const { return m_faces.at(static_cast<std::size_t>(font)); }

    std::array<Face, 3> m_faces;
};

} // namespace fenlo
