#include "ui/onboarding/VoiceReadingAdapter.h"

namespace fenlo {

VoiceReadingAdapter::VoiceReadingAdapter(VoiceReading& reading)
    : m_reading(reading), m_watch(reading.watch([this] { Q_EMIT changed(); })) {}

QStringList VoiceReadingAdapter::passage() {
    QStringList lines;
    for (const std::string_view line : VoiceReading::passage())
        lines << QString::fromUtf8(line.data(), static_cast<qsizetype>(line.size()));
    return lines;
}

QString VoiceReadingAdapter::keyLabel() const {
    return QString::fromStdString(m_reading.keyLabel());
}

QString VoiceReadingAdapter::status() const {
    return QString::fromStdString(m_reading.status());
}

QColor VoiceReadingAdapter::tint() const {
    const auto tint = m_reading.statusTint();
    return tint ? QColor::fromRgbF(static_cast<float>(tint->red), static_cast<float>(tint->green),
                                   static_cast<float>(tint->blue))
                : QColor(Qt::transparent);
}

QString VoiceReadingAdapter::reason() const {
    return QString::fromStdString(m_reading.reason());
}

void VoiceReadingAdapter::toggle() {
    if (isReading())
        m_reading.keyUp();
    else
        m_reading.keyDown();
}

} // namespace fenlo
