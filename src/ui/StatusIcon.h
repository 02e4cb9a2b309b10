#pragma once

#include "platform/StatusItem.h"

#include <QIcon>
#include <QImage>
#include <vector>

namespace fenlo {

/// The face as a square of so many pixels. Idle and processing are light with a dark rim, because the panel's colour is
/// unknown.
QImage statusImage(IconFace face, int pixels);

/// The face in the sizes that panels use.
std::vector<QImage> statusImages(IconFace face);
QIcon statusIcon(IconFace face);

} // namespace fenlo
