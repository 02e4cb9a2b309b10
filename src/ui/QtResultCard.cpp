#include "ui/QtResultCard.h"

#include "ui/LinkedTextView.h"
#include "ui/ResultCardView.h"

#include <algorithm>

namespace fenlo {

namespace {

class QtResultCard final : public ResultCard {
public:
    QtResultCard(const ResultCardContent& content, QSizeF size)
        : view(std::make_unique<ResultCardView>(content, size)) {}

    void fadeIn(double seconds) override { view->fadeIn(seconds); }
    void showCopied() override { view->showCopied(); }
    bool contains(ScreenPoint point) const override { return view->panelPixels().contains(point.x, point.y); }

    std::unique_ptr<ResultCardView> view;
};

} // namespace

QtResultCards::QtResultCards() : m_fading(std::make_unique<FadingWindows>()) {}

QtResultCards::~QtResultCards() = default;

std::unique_ptr<ResultCard> QtResultCards::make(ResultCardContent content, double width, double height) {
    return std::make_unique<QtResultCard>(std::move(content), QSizeF(width, height));
}

void QtResultCards::fadeOut(std::unique_ptr<ResultCard> card, double seconds) {
    auto view = std::move(static_cast<QtResultCard&>(*card).view);
    view->retire();
    m_fading->add(std::move(view), seconds);
}

double QtResultCards::textHeight(const std::string& text, double width, double limit) const {
    return std::min(LinkedTextView::heightOf(text, width), limit);
}

} // namespace fenlo
