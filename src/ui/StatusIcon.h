#pragma once

#include "platform/StatusItem.h"

#include <QIcon>
#include <QImage>
#include <vector>

namespace fenlo {

/// The face drawn in this many pixels square. Idle and processing are light with a dark rim, because nobody tells
/// which colour the panel has.
QImage statusImage(IconFace face, int pixels);

/// The face in the sizes that panels use.
std::vector<QImage> statusImages(IconFace face);
QIcon statusIcon(IconFace face);

} // namespace fenlo
