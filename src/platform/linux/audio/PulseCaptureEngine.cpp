#include "platform/linux/audio/PulseCaptureEngine.h"

#include "base/Log.h"

#include <algorithm>
#include <pulse/error.h>
#include <pulse/timeval.h>
#include <utility>

namespace fenlo {

namespace {

constexpr double startLimit = 0.5; // seconds
constexpr double retryDelay = 0.5;
constexpr pa_usec_t fragmentLength = 10 * PA_USEC_PER_MSEC;

} // namespace

PulseCaptureEngine::PulseCaptureEngine(std::shared_ptr<PulseConnection> connection, KnownSources known,
                                       std::optional<PulseSource> source)
    : m_connection(std::move(connection)), m_known(std::move(known)), m_source(std::move(source)) {
    PulseLock lock(*m_connection);
    m_subscription = m_connection->subscribe({[this] {
                                                  if (m_isRunning)
                                                      open(Target::ownSource);
                                              },
                                              [this] { connectionLost(); }});
}

PulseCaptureEngine::~PulseCaptureEngine() {
    PulseLock lock(*m_connection);
    close();
    m_subscription.reset();
}

InputFormat PulseCaptureEngine::format() const {
    if (!m_source)
        return {};
    return {static_cast<double>(m_source->format.rate), m_source->format.channels};
}

void PulseCaptureEngine::installTap(std::size_t frames, Tap tap) {
    PulseLock lock(*m_connection);
    m_tap = std::move(tap);
    m_tapFrames = frames;
    m_gathered.clear();
    m_gathered.reserve(frames);
}

void PulseCaptureEngine::removeTap() {
    PulseLock lock(*m_connection); // the audio thread holds it while the tap runs
    m_tap = {};
}

std::optional<std::string> PulseCaptureEngine::start() {
    if (!m_source)
        return "there is no input device";
    PulseLock lock(*m_connection);
    if (m_isRunning)
        return {};
    m_gathered.clear();
    m_error = "there is no connection to the sound server";
    m_isStarting = true;
    open(Target::ownSource);
    m_connection->waitFor([this] { return !isOpening(); }, startLimit);
    m_isStarting = false;
    if (!m_stream)
        return m_error;
    m_isRunning = true;
    return {};
}

void PulseCaptureEngine::stop() {
    PulseLock lock(*m_connection);
    m_isRunning = false;
    close();
}

void PulseCaptureEngine::open(Target target) {
    close();
    pa_context* const context = m_connection->context();
    if (!context)
        return;
    m_target = target;
    const auto source = target == Target::ownSource ? m_source : m_known.current();
    if (!source)
        return tryLater();
    m_hasDelivered = false;
    m_stream.reset(::pa_stream_new(context, "Dictation", &m_source->format, &m_source->channels));
    if (!m_stream)
        return;
    pa_stream* const stream = m_stream.get();
    ::pa_stream_set_state_callback(
        stream,
        [](pa_stream*, void* self) {
            callFromPulse([self] { static_cast<PulseCaptureEngine*>(self)->streamChanged(); });
        },
        this);
    ::pa_stream_set_moved_callback(
        stream,
        [](pa_stream*, void* self) {
            callFromPulse([self] { static_cast<PulseCaptureEngine*>(self)->streamMoved(); });
        },
        this);
    ::pa_stream_set_read_callback(
        stream,
        [](pa_stream*, std::size_t, void* self) {
            callFromPulse([self] { static_cast<PulseCaptureEngine*>(self)->read(); });
        },
        this);
    const pa_buffer_attr attributes = recordBuffer(m_source->format, fragmentLength);
    if (::pa_stream_connect_record(stream, source->name.c_str(), &attributes, PA_STREAM_ADJUST_LATENCY) < 0 &&
        stream == m_stream.get())
        streamFailed();
}

void PulseCaptureEngine::close() {
    m_retry.reset();
    m_stream.reset();
}

bool PulseCaptureEngine::isOpening() const {
    return m_stream && ::pa_stream_get_state(m_stream.get()) == PA_STREAM_CREATING;
}

void PulseCaptureEngine::streamChanged() {
    const pa_stream_state_t state = ::pa_stream_get_state(m_stream.get());
    if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED)
        streamFailed();
    m_connection->signal();
}

/// The device refused, or it went away under a stream that had worked.
void PulseCaptureEngine::streamFailed() {
    m_error = ::pa_strerror(::pa_context_errno(::pa_stream_get_context(m_stream.get())));
    const bool hadWorked = m_hasDelivered;
    close();
    if (m_isStarting)
        return;
    if (hadWorked)
        open(Target::ownSource);
    else if (m_target == Target::ownSource)
        open(Target::defaultMicrophone);
    else
        tryLater();
}

void PulseCaptureEngine::tryLater() {
    m_retry = m_connection->after(retryDelay, [this] { open(Target::ownSource); });
}

/// A server that loses a source turns its streams to the default one, which without a microphone is what a speaker
/// plays.
void PulseCaptureEngine::streamMoved() {
    const char* const name = ::pa_stream_get_device_name(m_stream.get());
    const auto source = name ? m_known.named(name) : std::nullopt;
    if (!source || !source->device.isMonitor || m_source->device.isMonitor)
        return;
    logInfo("The microphone is gone, and what is played in its place is not recorded: {}", source->name);
    close();
    tryLater();
}

void PulseCaptureEngine::connectionLost() {
    close();
    m_error = "the sound server went away";
}

void PulseCaptureEngine::read() {
    const void* data = nullptr;
    std::size_t bytes = 0;
    while (m_stream && ::pa_stream_readable_size(m_stream.get()) > 0 &&
           ::pa_stream_peek(m_stream.get(), &data, &bytes) == 0 && bytes > 0) {
        m_hasDelivered = true;
        if (data) // null for a hole in the stream
            gather(static_cast<const float*>(data), bytes / ::pa_frame_size(&m_source->format));
        ::pa_stream_drop(m_stream.get());
    }
}

void PulseCaptureEngine::gather(const float* samples, std::size_t frames) {
    if (!m_tap)
        return;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        m_gathered.push_back(samples[frame * m_source->format.channels]);
        if (m_gathered.size() >= m_tapFrames) {
            m_tap(m_gathered);
            m_gathered.clear();
        }
    }
}

} // namespace fenlo
