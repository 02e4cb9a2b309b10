#include "ui/update/UpdateAdapter.h"

#include "account/AutoUpdater.h"

namespace fenlo {

UpdateAdapter::UpdateAdapter(AutoUpdater& updater)
    : m_updater(updater), m_words(UpdateWords::of(updater)), m_watch(updater.watch([this] { follow(); })) {
    static_assert(static_cast<int>(Stage::Failed) == static_cast<int>(AutoUpdater::Stage::failed));
}

void UpdateAdapter::follow() {
    m_words = UpdateWords::of(m_updater);
    Q_EMIT changed();
}

UpdateAdapter::Stage UpdateAdapter::stage() const {
    return static_cast<Stage>(m_updater.stage());
}

QString UpdateAdapter::fault() const {
    return QString::fromStdString(m_updater.fault());
}

bool UpdateAdapter::canInstall() const {
    return m_updater.offer() && m_updater.offer()->package;
}

bool UpdateAdapter::hasInstaller() const {
    return m_updater.wasOpened();
}

double UpdateAdapter::progress() const {
    return canInstall() ? double(m_updater.bytesDone()) / double(m_updater.offer()->package->length) : 0;
}

void UpdateAdapter::install() {
    m_updater.install();
}

void UpdateAdapter::openInstaller() {
    m_updater.openInstaller();
}

void UpdateAdapter::showInFolder() {
    m_updater.showInFolder();
}

void UpdateAdapter::tryAgain() {
    m_updater.tryAgain();
}

void UpdateAdapter::skip() {
    m_updater.skipThisVersion();
}

} // namespace fenlo
