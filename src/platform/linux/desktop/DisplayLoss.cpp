#include "platform/linux/desktop/DisplayLoss.h"

#include "base/Log.h"

#include <mutex>

namespace fenlo {

void tellDisplayLoss(const char* server) {
    static std::once_flag told;
    std::call_once(told, [server] { logError("The connection to the {} is lost", server); });
}

} // namespace fenlo
