#include "base/OpenSsl.h"

namespace fenlo {

const char openSslLibrary[] = LIBRARY; // from the build

} // namespace fenlo
