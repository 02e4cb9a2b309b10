#include "ui/PillFonts.h"

#include "ui/PillPainter.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <chrono>

namespace fenlo {

namespace {

/// The first that is installed is used.
const QStringList houseFonts{QStringLiteral("Avenir Next"), QStringLiteral("Inter")};
const QString digits = QStringLiteral("0123456789");

constexpr std::chrono::milliseconds startUp(500); // the program's; before any take

/// The widest digit, or 0 when all are equal.
double unequalDigitWidth(const QFontMetricsF& metrics) {
    double narrowest = metrics.horizontalAdvance(digits[0]);
    double widest = narrowest;
    for (const QChar digit : digits) {
        narrowest = std::min(narrowest, metrics.horizontalAdvance(digit));
        widest = std::max(widest, metrics.horizontalAdvance(digit));
    }
    return widest > narrowest ? widest : 0;
}

/// Calls `place(character, x, cell)` for each character when every digit takes a cell of this width; returns the end.
template <typename Place>
double walkCells(const QString& text, const QFontMetricsF& metrics, double digitWidth, Place place) {
    double x = 0;
    for (const QChar character : text) {
        const double advance = metrics.horizontalAdvance(character);
        const double cell = character.isDigit() ? digitWidth : advance;
        place(character, x + (cell - advance) / 2);
        x += cell;
    }
    return x;
}

} // namespace

QFont interfaceFont(double size, QFont::Weight weight) {
    static const auto house =
        std::ranges::find_if(houseFonts, [](const auto& name) { return QFontDatabase::hasFamily(name); });
    QFont font = house != houseFonts.end() ? QFont(*house) : QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(static_cast<int>(size)); // a point of the design is a pixel before scaling
    font.setWeight(weight);
    return font;
}

PillFonts::PillFonts() {
    m_lookUp.setSingleShot(true);
    m_lookUp.callOnTimeout([this] { face(PillFont::text); });
    m_lookUp.start(startUp);
}

const PillFonts::Face& PillFonts::face(PillFont font) const {
    if (!m_faces) {
        m_faces = {Face{interfaceFont(14, QFont::Medium)}, Face{interfaceFont(11, QFont::DemiBold)},
                   Face{interfaceFont(10, QFont::Medium)}, Face{interfaceFont(13, QFont::Normal)}};
        Face& text = m_faces->at(static_cast<std::size_t>(PillFont::text));
        text.digitWidth = unequalDigitWidth(QFontMetricsF(text.font));
    }
    return m_faces->at(static_cast<std::size_t>(font));
}

double PillFonts::width(const std::string& text, PillFont font) const {
    const QFontMetricsF metrics(face(font).font);
    const QString string = QString::fromStdString(text);
    if (face(font).digitWidth == 0)
        return metrics.horizontalAdvance(string);
    return walkCells(string, metrics, face(font).digitWidth, [](QChar, double) {});
}

void PillFonts::draw(QPainter& painter, double x, double middle, const PillPicture::Text& text) const {
    const QFontMetricsF metrics(face(text.font).font);
    const QString string = QString::fromStdString(text.text);
    const double baseline = middle + metrics.capHeight() / 2;
    painter.setFont(face(text.font).font);
    painter.setPen(toQColor(text.colour));
    if (face(text.font).digitWidth == 0)
        painter.drawText(QPointF(x, baseline), string);
    else
        walkCells(string, metrics, face(text.font).digitWidth,
                  [&](QChar character, double offset) { painter.drawText(QPointF(x + offset, baseline), character); });
}

} // namespace fenlo
