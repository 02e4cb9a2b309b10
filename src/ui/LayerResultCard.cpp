#include "ui/LayerResultCard.h"

#include "shell/PillStyle.h"
#include "ui/GuardedCall.h"
#include "ui/LinkedTextView.h"
#include "ui/OverlayPanel.h"
#include "ui/ResultCardView.h"
#include "ui/WidgetMouse.h"

#include <QEvent>
#include <QPainter>
#include <QRegion>
#include <algorithm>

namespace fenlo {

class LayerResultCards::Card final : public ResultCard, private QObject {
public:
    Card(OverlaySurfaces& surfaces, const ResultCardContent& content, QSizeF size)
        : m_dismiss(content.onDismiss), m_view(content, size), m_mouse(m_view),
          m_panel(surfaces, pillStyle::distanceFromTop - m_view.panel().top(),
                  [this](QPainter& painter) { m_view.render(&painter, {}, {}, QWidget::DrawChildren); }) {
        m_panel.setSize(m_view.size());
        m_view.setAttribute(Qt::WA_DontShowOnScreen);
        m_view.installEventFilter(this);
        m_view.show();
        acceptMouse();
        m_outside = surfaces.catchMouse([this] { callGuarded(m_dismiss); });
    }

    void fadeIn(double seconds) override { m_panel.fadeIn(seconds); }
    void showCopied() override { m_view.showCopied(); }
    /// Nobody asks: catchMouse() tells of what happens outside.
    bool contains(ScreenPoint) const override { return true; }

    void fadeOut(double seconds, QObject& context, const std::function<void()>& done) {
        m_outside.reset();
        m_dismiss = nullptr;
        m_view.retire();
        m_panel.fadeOut(seconds, context, done);
    }

private:
    void acceptMouse() {
        std::vector<OverlayRectangle> region;
        for (const QRect& r : QRegion(m_view.outline().toFillPolygon().toPolygon()))
            region.push_back({r.x(), r.y(), r.width(), r.height()});
        m_panel.surface().acceptMouse(std::move(region), [this](const OverlayPointer& event) {
            // A button may dismiss the card, whose end is posted: it outlives the call.
            m_mouse.handle(event);
            m_panel.surface().setCursor(m_mouse.cursor());
        });
    }

    /// The widget has changed, and is about to paint itself where nobody sees it.
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::UpdateRequest)
            m_panel.draw();
        return false;
    }

    std::function<void()> m_dismiss;
    ResultCardView m_view;
    WidgetMouse m_mouse;
    OverlayPanel m_panel;
    std::shared_ptr<void> m_outside;
};

LayerResultCards::LayerResultCards(std::unique_ptr<OverlaySurfaces> surfaces)
    : m_surfaces(std::move(surfaces)), m_fading(std::make_unique<FadingPanels<Card>>()) {}

LayerResultCards::~LayerResultCards() = default;

std::unique_ptr<ResultCard> LayerResultCards::make(ResultCardContent content, double width, double height) {
    return std::make_unique<Card>(*m_surfaces, content, QSizeF(width, height));
}

void LayerResultCards::fadeOut(std::unique_ptr<ResultCard> card, double seconds) {
    m_fading->add(std::unique_ptr<Card>(static_cast<Card*>(card.release())), seconds);
}

double LayerResultCards::textHeight(const std::string& text, double width, double limit) const {
    return std::min(LinkedTextView::heightOf(text, width), limit);
}

} // namespace fenlo
