#include "ui/LayerPillWindow.h"

#include "shell/PillStyle.h"
#include "ui/GuardedCall.h"
#include "ui/OverlayPanel.h"
#include "ui/PillFonts.h"
#include "ui/PillPainter.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace fenlo {

namespace {

/// The pill's outline, row by row.
std::vector<OverlayRectangle> outlineRows(int left, int width) {
    std::vector<OverlayRectangle> rows;
    for (int y = 0; y < static_cast<int>(pillStyle::height); ++y) {
        const double radius = pillStyle::cornerRadius, rise = radius - y - 0.5;
        const int inset = static_cast<int>(std::lround(radius - std::sqrt(radius * radius - rise * rise)));
        rows.push_back({left + inset, y, width - 2 * inset, 1});
    }
    return rows;
}

} // namespace

class LayerPillWindows::Pill final : public PillWindow {
public:
    Pill(OverlaySurfaces& surfaces, const PillFonts& fonts, double width)
        : m_fonts(fonts), m_width(width),
          m_panel(surfaces, pillStyle::distanceFromTop, [this](QPainter& painter) { paint(painter); }) {
        m_growth.setEasingCurve(QEasingCurve::OutCubic);
        QObject::connect(&m_growth, &QVariantAnimation::valueChanged,
                         [this](const QVariant& value) { changeWidth(value.toDouble()); });
        applySize();
    }

    void setPicture(const PillPicture& picture) override {
        m_picture = picture;
        m_panel.draw();
    }

    void fadeIn(double seconds) override { m_panel.fadeIn(seconds); }

    void setWidth(double width, double seconds) override {
        m_growth.stop();
        m_room = std::max(m_room, whole(width));
        applySize();
        if (seconds > 0)
            animate(m_growth, m_width, width, seconds);
        else
            changeWidth(width);
    }

    void acceptMouse(std::function<void()> onMouseDown) override {
        m_onMouseDown = std::move(onMouseDown);
        updateInput();
    }

    void fadeOut(double seconds, QObject& context, const std::function<void()>& done) {
        acceptMouse(nullptr);
        m_growth.stop();
        m_panel.fadeOut(seconds, context, done);
    }

private:
    static int whole(double width) { return static_cast<int>(std::ceil(width)); }
    int left() const { return (m_room - whole(m_width)) / 2; }

    void applySize() { m_panel.setSize({m_room, static_cast<int>(pillStyle::height)}); }

    void changeWidth(double width) {
        m_width = width;
        m_room = std::max(m_room, whole(width));
        applySize();
        m_panel.draw();
        updateInput();
    }

    void updateInput() {
        if (!m_onMouseDown)
            return m_panel.surface().acceptMouse({}, nullptr);
        m_panel.surface().acceptMouse(outlineRows(left(), whole(m_width)), [this](const OverlayPointer& pointer) {
            if (pointer.kind == OverlayPointer::Kind::down)
                callGuarded(m_onMouseDown);
        });
    }

    void paint(QPainter& painter) {
        painter.translate(left(), 0);
        paintPill(painter, m_fonts, m_picture, whole(m_width), false);
    }

    const PillFonts& m_fonts;
    PillPicture m_picture;
    std::function<void()> m_onMouseDown;
    double m_width;              // points
    int m_room = whole(m_width); // points: the surface never shrinks, so that what grows and fades never jumps
    QVariantAnimation m_growth;
    OverlayPanel m_panel;
};

LayerPillWindows::LayerPillWindows(std::unique_ptr<OverlaySurfaces> surfaces)
    : m_surfaces(std::move(surfaces)), m_fonts(std::make_unique<PillFonts>()),
      m_fading(std::make_unique<FadingPanels<Pill>>()) {}

LayerPillWindows::~LayerPillWindows() = default;

std::unique_ptr<PillWindow> LayerPillWindows::make(double width) {
    return std::make_unique<Pill>(*m_surfaces, *m_fonts, width);
}

void LayerPillWindows::fadeOut(std::unique_ptr<PillWindow> pill, double seconds) {
    m_fading->add(std::unique_ptr<Pill>(static_cast<Pill*>(pill.release())), seconds);
}

double LayerPillWindows::textWidth(const std::string& text, PillFont font) const {
    return m_fonts->width(text, font);
}

} // namespace fenlo
