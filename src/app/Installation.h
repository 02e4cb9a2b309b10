#pragma once

#include "account/BackendClient.h"

namespace fenlo {

Installation thisInstallation();

} // namespace fenlo
