#pragma once

#include "app/Progress.h"
#include "app/TerminationSignals.h"
#include "base/Clock.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "settings/Deployment.h"

#include <stop_token>

namespace fenlo {

/// What every command needs that works for a while: a signal asks it to stop, instead of ending the process.
///
/// Lifetime: made before any other thread.
struct CommandServices {
    /// `progressDescriptor` is where the progress is told.
    explicit CommandServices(int progressDescriptor = STDERR_FILENO) : progress(clock, progressDescriptor) {}
    CommandServices(const CommandServices&) = delete;
    CommandServices& operator=(const CommandServices&) = delete;

    std::stop_token stop() const { return interruption.get_token(); }

    std::stop_source interruption;
    const TerminationSignals termination{[this] { interruption.request_stop(); }};
    SystemClock clock;
    const Deployment deployment = Deployment::load();
    CurlHttpClient http;
    Progress progress;
};

} // namespace fenlo
