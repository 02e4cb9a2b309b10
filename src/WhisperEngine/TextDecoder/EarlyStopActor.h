#pragma once

#include "base/Guarded.h"

#include <map>
#include <string>

namespace fenlo::whisper {

/// Who asks for which window to end before its time. A window's key is registered while it is decoded.
///
/// Threads: any.
class EarlyStopActor {
public:
    void begin(const std::string& window) {
        m_flags.with([&](Flags& flags) { flags[window] = false; });
    }
    void stop(const std::string& window) {
        m_flags.with([&](Flags& flags) {
            if (const auto flag = flags.find(window); flag != flags.end())
                flag->second = true;
        });
    }
    bool isStopped(const std::string& window) const {
        return m_flags.with([&](const Flags& flags) {
            const auto flag = flags.find(window);
            return flag != flags.end() && flag->second;
        });
    }
    /// False when there was no such window.
    bool end(const std::string& window) {
        return m_flags.with([&](Flags& flags) { return flags.erase(window) > 0; });
    }

private:
    using Flags = std::map<std::string, bool>;
    Guarded<Flags> m_flags;
};

} // namespace fenlo::whisper
