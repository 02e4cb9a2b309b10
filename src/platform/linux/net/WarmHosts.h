#pragma once

#include "base/Guarded.h"

#include <chrono>
#include <map>
#include <string>

namespace fenlo {

/// Which hosts have a connection that needs no warming: one that was used a short while ago or is being opened.
///
/// Threads: any.
class WarmHosts {
public:
    using Moment = std::chrono::steady_clock::time_point;

    explicit WarmHosts(double keepWarm) : m_keepWarm(keepWarm) {}

    /// True when the caller shall warm the host; it then tells when that has ended.
    bool beginWarming(const std::string& origin, Moment now);
    void endWarming(const std::string& origin);

    /// A connection to the host has just served.
    void used(const std::string& origin, Moment now);

private:
    struct Host {
        bool isWarming = false;
        Moment lastUse = Moment::min();
    };

    const std::chrono::duration<double> m_keepWarm;
    Guarded<std::map<std::string, Host>> m_hosts;
};

} // namespace fenlo
