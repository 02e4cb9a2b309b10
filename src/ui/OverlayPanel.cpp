#include "ui/OverlayPanel.h"

#include "ui/Milliseconds.h"

#include <QImage>
#include <QPainter>

namespace fenlo {

void animate(QVariantAnimation& animation, double from, double to, double seconds) {
    animation.stop();
    animation.setStartValue(from);
    animation.setEndValue(to);
    animation.setDuration(inMilliseconds(seconds));
    animation.start();
}

OverlayPanel::OverlayPanel(OverlaySurfaces& surfaces, double distanceFromTop, std::function<void(QPainter&)> paint)
    : m_paint(std::move(paint)), m_surface(surfaces.make(distanceFromTop, [this] { draw(); })) {
    QObject::connect(&m_fade, &QVariantAnimation::valueChanged, [this](const QVariant& value) {
        m_opacity = value.toDouble();
        draw();
    });
}

void OverlayPanel::fadeIn(double seconds) {
    m_isShown = true;
    if (seconds > 0)
        animate(m_fade, 0, 1, seconds);
    else
        m_opacity = 1;
    draw();
}

void OverlayPanel::fadeOut(double seconds, QObject& context, const std::function<void()>& done) {
    m_surface->acceptMouse({}, nullptr);
    if (seconds <= 0)
        return done();
    QObject::connect(&m_fade, &QVariantAnimation::finished, &context, done, Qt::QueuedConnection);
    animate(m_fade, m_opacity, 0, seconds);
}

void OverlayPanel::draw() {
    if (!m_isShown)
        return;
    const double scale = m_surface->scale();
    QImage image((QSizeF(m_size) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale); // not a scaled painter, which icons do not look at
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.save();
    m_paint(painter);
    painter.restore();
    if (m_opacity < 1) {
        painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
        painter.fillRect(QRect(QPoint(0, 0), m_size), QColor::fromRgbF(0, 0, 0, static_cast<float>(m_opacity)));
    }
    painter.end();
    const auto* const pixels = reinterpret_cast<const std::uint32_t*>(image.constBits());
    const auto count = static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height());
    m_surface->show({.width = m_size.width(),
                     .height = m_size.height(),
                     .scale = scale,
                     .columns = image.width(),
                     .rows = image.height(),
                     .pixels = {pixels, pixels + count}});
}

} // namespace fenlo
