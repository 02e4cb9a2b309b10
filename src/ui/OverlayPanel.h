#pragma once

#include "platform/OverlaySurface.h"

#include <QSize>
#include <QVariantAnimation>
#include <functional>
#include <memory>
#include <vector>

class QPainter;

namespace fenlo {

void animate(QVariantAnimation& animation, double from, double to, double seconds);

/// A picture on an overlay, painted anew when it changes or the screen does, which fades in and out.
class OverlayPanel {
public:
    /// `paint` paints in points, on nothing. The surfaces outlive this.
    OverlayPanel(OverlaySurfaces& surfaces, double distanceFromTop, std::function<void(QPainter&)> paint);

    OverlaySurface& surface() { return *m_surface; }
    void setSize(QSize points) { m_size = points; }
    /// Nothing before it fades in.
    void draw();
    void fadeIn(double seconds);
    /// Calls `done` from the context's event loop: not from within the animation, which dies with the panel.
    void fadeOut(double seconds, QObject& context, const std::function<void()>& done);

private:
    const std::function<void(QPainter&)> m_paint;
    QSize m_size; // points
    double m_opacity = 0;
    bool m_isShown = false;
    QVariantAnimation m_fade;
    std::unique_ptr<OverlaySurface> m_surface;
};

/// What stands on panels that are on their way out. `T` has fadeOut() as OverlayPanel.
template <typename T>
class FadingPanels {
public:
    void add(std::unique_ptr<T> fading, double seconds) {
        T* const it = fading.get();
        m_fading.push_back(std::move(fading));
        it->fadeOut(seconds, m_context,
                    [this, it] { std::erase_if(m_fading, [it](const auto& known) { return known.get() == it; }); });
    }

private:
    std::vector<std::unique_ptr<T>> m_fading;
    QObject m_context; // of the ends of fades
};

} // namespace fenlo
