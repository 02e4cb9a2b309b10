#pragma once

#include <QIcon>

/// The small line icons of the card's buttons.
namespace fenlo::cardIcon {

QIcon copy();
QIcon checkMark();
QIcon cross();

} // namespace fenlo::cardIcon
