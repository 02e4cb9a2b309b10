#pragma once

#include "platform/OverlaySurface.h"
#include "platform/ResultCard.h"

#include <memory>

namespace fenlo {

template <typename T>
class FadingPanels;

/// Result cards on overlays, for desktops that have no windows of a fixed place. The card is the same widget as
/// elsewhere, in no window: screen readers know it, and what it paints is the overlay's picture.
///
/// A mouse-down outside dismisses the card, since the desktop tells of none by itself; what lies there does not get it.
class LayerResultCards final : public ResultCards {
public:
    explicit LayerResultCards(std::unique_ptr<OverlaySurfaces> surfaces);
    ~LayerResultCards() override;

    std::unique_ptr<ResultCard> make(ResultCardContent content, double width, double height) override;
    void fadeOut(std::unique_ptr<ResultCard> card, double seconds) override;
    double textHeight(const std::string& text, double width, double limit) const override;

private:
    class Card;

    const std::unique_ptr<OverlaySurfaces> m_surfaces; // outlives the cards
    std::unique_ptr<FadingPanels<Card>> m_fading;
};

} // namespace fenlo
