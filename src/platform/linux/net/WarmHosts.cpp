#include "platform/linux/net/WarmHosts.h"

namespace fenlo {

bool WarmHosts::beginWarming(const std::string& origin, Moment now) {
    return m_hosts.with([&](auto& hosts) {
        Host& host = hosts[origin];
        if (host.isWarming || (host.lastUse != Moment::min() && now - host.lastUse < m_keepWarm))
            return false;
        host.isWarming = true;
        return true;
    });
}

void WarmHosts::endWarming(const std::string& origin) {
    m_hosts.with([&](auto& hosts) { hosts[origin].isWarming = false; });
}

void WarmHosts::used(const std::string& origin, Moment now) {
    m_hosts.with([&](auto& hosts) { hosts[origin].lastUse = now; });
}

} // namespace fenlo
