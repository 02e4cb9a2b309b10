#include "platform/linux/audio/PulseMonitorStream.h"

#include "base/Log.h"

#include <algorithm>
#include <pulse/error.h>
#include <pulse/rtclock.h>
#include <pulse/timeval.h>
#include <utility>

namespace fenlo {

namespace {

constexpr double openLimit = 0.9; // seconds
constexpr double reopenDelay = 0.3;
constexpr double tickInterval = 0.1;
constexpr pa_usec_t fragmentDuration = 50 * PA_USEC_PER_MSEC;
constexpr std::size_t silentPiece = 4800; // samples

/// Not one: a mono stream is too loud by the half of what both channels share on some servers.
constexpr std::uint8_t channels = 2;
constexpr pa_sample_spec stereo{PA_SAMPLE_FLOAT32NE, static_cast<std::uint32_t>(systemAudioRate), channels};

double secondsNow() {
    return static_cast<double>(::pa_rtclock_now()) / PA_USEC_PER_SEC;
}

} // namespace

PulseMonitorStream::PulseMonitorStream(SystemAudioInput::Tap tap) : m_tap(std::move(tap)), m_gaps(systemAudioRate) {
    const PulseLock lock(m_connection);
    m_subscription = m_connection.subscribe({[] {}, [this] { close(); }});
    m_default.emplace(m_connection, [this](const std::string& monitor) { found(monitor); });
}

PulseMonitorStream::~PulseMonitorStream() {
    const PulseLock lock(m_connection);
    m_default.reset();
    m_subscription.reset();
    m_tick.reset();
    m_retry.reset();
    close();
}

std::optional<std::string> PulseMonitorStream::begin() {
    const PulseLock lock(m_connection);
    m_connection.waitFor([this] { return m_isMonitor || !m_error.empty() || m_connection.hasFailed(); }, openLimit);
    if (!m_connection.context())
        return "there is no connection to the sound server";
    if (!m_error.empty())
        return m_error;
    m_gaps.begin(secondsNow());
    m_tick = m_connection.after(tickInterval, [this] { tick(); });
    return {};
}

void PulseMonitorStream::found(const std::string& monitor) {
    m_error = monitor.empty() ? "there is no output device" : "";
    if (monitor.empty())
        close();
    else if (!m_stream || monitor != m_monitor)
        open(monitor);
    m_connection.signal();
}

void PulseMonitorStream::open(const std::string& monitor) {
    close();
    m_stream.reset(::pa_stream_new(m_connection.context(), "Meeting", &stereo, nullptr));
    if (!m_stream)
        return tryAgain();
    m_monitor = monitor;
    pa_stream* const stream = m_stream.get();
    ::pa_stream_set_state_callback(
        stream,
        [](pa_stream*, void* self) {
            callFromPulse([self] { static_cast<PulseMonitorStream*>(self)->streamChanged(); });
        },
        this);
    ::pa_stream_set_moved_callback(
        stream,
        [](pa_stream*, void* self) { callFromPulse([self] { static_cast<PulseMonitorStream*>(self)->check(); }); },
        this);
    ::pa_stream_set_read_callback(
        stream,
        [](pa_stream*, std::size_t, void* self) {
            callFromPulse([self] { static_cast<PulseMonitorStream*>(self)->read(); });
        },
        this);
    const pa_buffer_attr attributes = recordBuffer(stereo, fragmentDuration);
    constexpr auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_DONT_MOVE | PA_STREAM_ADJUST_LATENCY);
    if (::pa_stream_connect_record(stream, monitor.c_str(), &attributes, flags) < 0 && stream == m_stream.get())
        tryAgain();
}

void PulseMonitorStream::close() {
    m_question.reset();
    m_retry.reset();
    m_isMonitor = false;
    m_monitor.clear();
    if (m_stream)
        m_gaps.interrupt();
    m_stream.reset();
}

void PulseMonitorStream::streamChanged() {
    const pa_stream_state_t state = ::pa_stream_get_state(m_stream.get());
    if (state == PA_STREAM_READY)
        check();
    else if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED)
        tryAgain();
    m_connection.signal();
}

/// The sink has gone, and the server may need a moment to name the next.
void PulseMonitorStream::tryAgain() {
    m_error = ::pa_strerror(::pa_context_errno(m_connection.context()));
    close();
    m_retry = m_connection.after(reopenDelay, [this] { m_default->look(); });
}

/// Asks what the stream is on.
void PulseMonitorStream::check() {
    m_isMonitor = false;
    m_gaps.interrupt();
    const char* const source = ::pa_stream_get_device_name(m_stream.get());
    m_question.reset(::pa_context_get_source_info_by_name(
        m_connection.context(), source ? source : m_monitor.c_str(),
        [](pa_context*, const pa_source_info* info, int end, void* self) {
            callFromPulse([=] { static_cast<PulseMonitorStream*>(self)->sourceAnswered(info, end); });
        },
        this));
}

/// Called with the source, if it is still there, and once more at the end.
void PulseMonitorStream::sourceAnswered(const pa_source_info* info, int end) {
    if (end == 0) {
        m_isMonitor = info->monitor_of_sink != PA_INVALID_INDEX;
        if (std::exchange(m_told, info->name) == info->name)
            return;
        if (m_isMonitor)
            logInfo("System audio comes from {}", info->name);
        else
            logError("System audio was turned to a microphone, which is not recorded: {}", info->name);
        return;
    }
    m_question.reset();
    if (!m_isMonitor)
        tryAgain();
    m_connection.signal();
}

void PulseMonitorStream::read() {
    const std::size_t frameSize = ::pa_frame_size(&stereo);
    const std::size_t readable = ::pa_stream_readable_size(m_stream.get());
    if (m_isMonitor && m_gaps.hasBegun() && readable != static_cast<std::size_t>(-1))
        deliverSilence(m_gaps.before(readable / frameSize, secondsNow()));
    const void* data = nullptr;
    std::size_t bytes = 0;
    while (::pa_stream_readable_size(m_stream.get()) > 0 && ::pa_stream_peek(m_stream.get(), &data, &bytes) == 0 &&
           bytes > 0) {
        if (m_isMonitor && m_gaps.hasBegun()) {
            if (data)
                deliver(static_cast<const float*>(data), bytes / frameSize);
            else // a hole in the stream
                deliverSilence(bytes / frameSize);
        }
        ::pa_stream_drop(m_stream.get());
    }
}

void PulseMonitorStream::deliver(const float* samples, std::size_t frames) {
    m_mono.resize(frames);
    for (std::size_t frame = 0; frame < frames; ++frame)
        m_mono[frame] = (samples[channels * frame] + samples[channels * frame + 1]) / channels;
    m_tap(m_mono);
}

void PulseMonitorStream::deliverSilence(std::size_t count) {
    m_mono.assign(std::min(count, silentPiece), 0);
    for (; count > 0; count -= m_mono.size()) {
        m_mono.resize(std::min(count, silentPiece));
        m_tap(m_mono);
    }
}

void PulseMonitorStream::tick() {
    deliverSilence(m_gaps.without(m_isMonitor, secondsNow()));
    m_tick = m_connection.after(tickInterval, [this] { tick(); });
}

} // namespace fenlo
