#pragma once

#include "platform/OverlaySurface.h"
#include "platform/PillWindow.h"

#include <memory>

namespace fenlo {

template <typename T>
class FadingPanels;
class PillFonts;

/// Pills on overlays, for desktops that have no windows of a fixed place.
class LayerPillWindows final : public PillWindows {
public:
    explicit LayerPillWindows(std::unique_ptr<OverlaySurfaces> surfaces);
    ~LayerPillWindows() override;

    std::unique_ptr<PillWindow> make(double width) override;
    void fadeOut(std::unique_ptr<PillWindow> pill, double seconds) override;
    double textWidth(const std::string& text, PillFont font) const override;

private:
    class Pill;

    const std::unique_ptr<OverlaySurfaces> m_surfaces; // outlives the pills
    std::unique_ptr<PillFonts> m_fonts;
    std::unique_ptr<FadingPanels<Pill>> m_fading;
};

} // namespace fenlo
