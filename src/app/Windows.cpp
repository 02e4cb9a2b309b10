#include "app/Windows.h"

namespace fenlo {

Windows::Windows(Config& config) : appearance(config), home({appearance}) {}

} // namespace fenlo
