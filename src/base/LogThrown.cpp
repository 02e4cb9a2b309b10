#include "base/LogThrown.h"

#include "base/Log.h"

#include <exception>

namespace fenlo {

void detail::logCaughtException(std::string_view where) {
    try {
        throw;
    } catch (const std::exception& error) {
        logError("{}: {}", where, error.what());
    } catch (...) {
        logError("{}: unknown exception", where);
    }
}

} // namespace fenlo
