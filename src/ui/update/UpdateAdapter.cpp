#include "ui/update/UpdateAdapter.h"

namespace fenlo {

UpdateAdapter::UpdateAdapter(AutoUpdater& updater)
    : m_updater(updater), m_words(UpdateWords::of(updater)), m_watch(updater.watch([this] { follow(); })) {
    static_assert(static_cast<int>(Stage::Failed) == static_cast<int>(AutoUpdater::Stage::failed));
}

void UpdateAdapter::follow() {
    m_words = UpdateWords::of(m_updater);
    Q_EMIT changed();
}

double UpdateAdapter::progress() const {
    return canInstall() ? double(m_updater.bytesDone()) / double(m_updater.offer()->package->length) : 0;
}

} // namespace fenlo
