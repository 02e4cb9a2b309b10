#pragma once

#include "platform/PillWindow.h"

#include <memory>

namespace fenlo {

class FadingWindows;
class PillFonts;

/// Pills as small windows that the window manager leaves alone.
class QtPillWindows final : public PillWindows {
public:
    QtPillWindows();
    ~QtPillWindows() override;

    std::unique_ptr<PillWindow> make(double width) override;
    void fadeOut(std::unique_ptr<PillWindow> pill, double seconds) override;
    double textWidth(const std::string& text, PillFont font) const override;

private:
    std::unique_ptr<PillFonts> m_fonts;
    std::unique_ptr<FadingWindows> m_fading;
};

} // namespace fenlo
