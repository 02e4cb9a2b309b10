#include "app/Installation.h"

#include "Version.h"

#include <QString>
#include <QSysInfo>

namespace fenlo {

Installation thisInstallation() {
    return {QSysInfo::machineHostName().toStdString(), QSysInfo::prettyProductName().toStdString(), version};
}

} // namespace fenlo
