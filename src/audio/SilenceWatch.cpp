#include "audio/SilenceWatch.h"

#include "audio/Level.h"

namespace fenlo {

namespace {
constexpr double pauseLength = 3.0; // seconds
}

bool SilenceWatch::hear(float rms, double now) {
    if (rms >= quietLevel) {
        *this = {};
        return false;
    }
    if (!m_quietSince)
        m_quietSince = now;
    if (m_told || now - *m_quietSince < pauseLength)
        return false;
    m_told = true;
    return true;
}

} // namespace fenlo
