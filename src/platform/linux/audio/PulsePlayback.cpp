#include "platform/linux/audio/PulsePlayback.h"

#include <algorithm>
#include <pulse/operation.h>
#include <pulse/timeval.h>
#include <utility>

namespace fenlo {

namespace {

constexpr pa_usec_t bufferLength = 40 * PA_USEC_PER_MSEC;

pa_buffer_attr shortBuffer(const pa_sample_spec& format) {
    constexpr auto serversChoice = static_cast<std::uint32_t>(-1);
    pa_buffer_attr attributes{};
    attributes.maxlength = serversChoice;
    attributes.tlength = static_cast<std::uint32_t>(::pa_usec_to_bytes(bufferLength, &format));
    attributes.prebuf = serversChoice;
    attributes.minreq = serversChoice;
    attributes.fragsize = serversChoice;
    return attributes;
}

} // namespace

PulsePlayback::PulsePlayback(PulseConnection& connection) : m_connection(connection) {
    m_subscription = m_connection.subscribe({[] {}, [this] { stop(); }});
}

PulsePlayback::~PulsePlayback() {
    stop();
}

void PulsePlayback::play(std::vector<float> samples, std::uint32_t sampleRate) {
    stop();
    pa_context* const context = m_connection.context();
    const pa_sample_spec format{PA_SAMPLE_FLOAT32NE, sampleRate, 1};
    if (!context || samples.empty())
        return;
    m_stream = ::pa_stream_new(context, "Tone", &format, nullptr);
    if (!m_stream)
        return;
    m_samples = std::move(samples);
    m_written = 0;
    ::pa_stream_set_write_callback(
        m_stream,
        [](pa_stream*, std::size_t bytes, void* self) {
            callFromPulse([=] { static_cast<PulsePlayback*>(self)->write(bytes); });
        },
        this);
    const pa_buffer_attr attributes = shortBuffer(format);
    if (::pa_stream_connect_playback(m_stream, nullptr, &attributes, PA_STREAM_ADJUST_LATENCY, nullptr, nullptr) < 0)
        stop();
}

void PulsePlayback::stop() {
    if (pa_operation* drain = std::exchange(m_drain, nullptr)) {
        ::pa_operation_cancel(drain);
        ::pa_operation_unref(drain);
    }
    if (pa_stream* stream = std::exchange(m_stream, nullptr)) {
        ::pa_stream_set_write_callback(stream, nullptr, nullptr);
        ::pa_stream_disconnect(stream);
        ::pa_stream_unref(stream);
    }
}

void PulsePlayback::write(std::size_t bytes) {
    const std::size_t count = std::min(bytes / sizeof(float), m_samples.size() - m_written);
    if (count > 0)
        ::pa_stream_write(m_stream, m_samples.data() + m_written, count * sizeof(float), nullptr, 0, PA_SEEK_RELATIVE);
    m_written += count;
    if (m_written == m_samples.size() && !m_drain)
        finishWhenHeard();
}

void PulsePlayback::finishWhenHeard() {
    m_drain = ::pa_stream_drain(
        m_stream,
        [](pa_stream*, int, void* self) { callFromPulse([self] { static_cast<PulsePlayback*>(self)->stop(); }); },
        this);
}

} // namespace fenlo
