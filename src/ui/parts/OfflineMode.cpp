#include "ui/parts/OfflineMode.h"

namespace fenlo {

OfflineMode::OfflineMode(HomeViewModel& model) : m_model(model), m_watch(model.watch([this] { Q_EMIT changed(); })) {}

} // namespace fenlo
