#include "ui/QtPillWindow.h"

#include "shell/PillStyle.h"
#include "ui/FloatingWindow.h"
#include "ui/GuardedCall.h"
#include "ui/PillFonts.h"
#include "ui/PillPainter.h"

#include <QMouseEvent>
#include <QPainter>

namespace fenlo {

namespace {

class PillView final : public FloatingWindow {
public:
    explicit PillView(const PillFonts& fonts) : FloatingWindow(pillStyle::cornerRadius, 0), m_fonts(fonts) {}

    PillPicture picture;
    std::function<void()> onMouseDown;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        paintPill(painter, m_fonts, picture, width(), !isTranslucent());
    }
    void mousePressEvent(QMouseEvent* event) override {
        event->accept();
        callGuarded(onMouseDown);
    }

private:
    const PillFonts& m_fonts;
};

class QtPillWindow final : public PillWindow {
public:
    QtPillWindow(const PillFonts& fonts, double width) : view(std::make_unique<PillView>(fonts)) {
        view->setPanelSize({width, pillStyle::height});
    }

    void setPicture(const PillPicture& picture) override {
        view->picture = picture;
        view->update();
    }
    void fadeIn(double seconds) override { view->fadeIn(seconds); }
    void setWidth(double width, double seconds) override { view->animateWidth(width, seconds); }
    void acceptMouse(std::function<void()> onMouseDown) override {
        view->onMouseDown = std::move(onMouseDown);
        view->setAcceptsMouse(true);
    }

    std::unique_ptr<PillView> view;
};

} // namespace

QtPillWindows::QtPillWindows() : m_fonts(std::make_unique<PillFonts>()), m_fading(std::make_unique<FadingWindows>()) {}

QtPillWindows::~QtPillWindows() = default;

std::unique_ptr<PillWindow> QtPillWindows::make(double width) {
    return std::make_unique<QtPillWindow>(*m_fonts, width);
}

void QtPillWindows::fadeOut(std::unique_ptr<PillWindow> pill, double seconds) {
    auto view = std::move(static_cast<QtPillWindow&>(*pill).view);
    view->onMouseDown = nullptr;
    m_fading->add(std::move(view), seconds);
}

double QtPillWindows::textWidth(const std::string& text, PillFont font) const {
    return m_fonts->width(text, font);
}

} // namespace fenlo
