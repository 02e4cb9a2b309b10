#pragma once

#include "platform/ResultCard.h"

#include <memory>

namespace fenlo {

class FadingWindows;

/// Result cards as windows that the window manager leaves alone.
class QtResultCards final : public ResultCards {
public:
    QtResultCards();
    ~QtResultCards() override;

    std::unique_ptr<ResultCard> make(ResultCardContent content, double width, double height) override;
    void fadeOut(std::unique_ptr<ResultCard> card, double seconds) override;
    double textHeight(const std::string& text, double width, double limit) const override;

private:
    std::unique_ptr<FadingWindows> m_fading;
};

} // namespace fenlo
