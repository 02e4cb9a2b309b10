#include "platform/linux/net/Curl.h"

namespace fenlo {

const char curlLibrary[] = LIBRARY; // from the build

} // namespace fenlo
