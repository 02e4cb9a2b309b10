#pragma once

#include "platform/SystemAudioInput.h"
#include "platform/linux/audio/PulseConnection.h"
#include "platform/linux/audio/PulseDefaultMonitor.h"
#include "platform/linux/audio/PulseHandles.h"
#include "platform/linux/audio/SilentGaps.h"

#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// Records the monitor of the default sink, whichever that is.
///
/// Servers move a stream whose source goes away to the default source: a microphone. This one may not be moved, and
/// delivers nothing before its source is known to be a monitor. When it fails, or another sink becomes the default, it
/// is opened anew, and silence fills the time between.
class PulseMonitorStream final : public SystemAudioStream {
public:
    explicit PulseMonitorStream(SystemAudioInput::Tap tap);
    ~PulseMonitorStream() override;
    PulseMonitorStream(const PulseMonitorStream&) = delete;
    PulseMonitorStream& operator=(const PulseMonitorStream&) = delete;

    /// Waits for the first answer and delivers from then on. Returns why there is nothing to record, or nothing.
    std::optional<std::string> begin();

private:
    void found(const std::string& monitor);
    void open(const std::string& monitor);
    void close();
    void streamChanged();
    void tryAgain();
    void check();
    void sourceAnswered(const pa_source_info* info, int end);
    void read();
    void deliver(const float* samples, std::size_t frames);
    void deliverSilence(std::size_t count);
    void tick();

    const SystemAudioInput::Tap m_tap;
    PulseConnection m_connection;

    // Under the connection's lock.
    SilentGaps m_gaps;
    std::vector<float> m_mono;
    std::string m_monitor; // that m_stream is, or is to be, on
    std::string m_told;    // the source of the last log line
    std::string m_error;   // why there is no stream
    PulseStream m_stream;
    bool m_isMonitor = false; // m_stream is, for certain
    PulseOperation m_question;
    PulseConnection::Delayed m_retry;
    PulseConnection::Delayed m_tick;
    PulseConnection::Subscription m_subscription;
    std::optional<PulseDefaultMonitor> m_default;
};

} // namespace fenlo
