#include "platform/linux/audio/PulsePlayback.h"

#include <algorithm>
#include <pulse/timeval.h>
#include <utility>

namespace fenlo {

namespace {

constexpr pa_usec_t bufferLength = 40 * PA_USEC_PER_MSEC;

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
    m_stream.reset(::pa_stream_new(context, "Tone", &format, nullptr));
    if (!m_stream)
        return;
    m_samples = std::move(samples);
    m_written = 0;
    ::pa_stream_set_write_callback(
        m_stream.get(),
        [](pa_stream*, std::size_t bytes, void* self) {
            callFromPulse([=] { static_cast<PulsePlayback*>(self)->write(bytes); });
        },
        this);
    const pa_buffer_attr attributes = playbackBuffer(format, bufferLength);
    if (::pa_stream_connect_playback(m_stream.get(), nullptr, &attributes, PA_STREAM_ADJUST_LATENCY, nullptr, nullptr) <
        0)
        stop();
}

void PulsePlayback::stop() {
    m_drain.reset();
    m_stream.reset();
}

void PulsePlayback::write(std::size_t bytes) {
    const std::size_t count = std::min(bytes / sizeof(float), m_samples.size() - m_written);
    if (count > 0)
        ::pa_stream_write(m_stream.get(), m_samples.data() + m_written, count * sizeof(float), nullptr, 0,
                          PA_SEEK_RELATIVE);
    m_written += count;
    if (m_written == m_samples.size() && !m_drain)
        finishWhenHeard();
}

void PulsePlayback::finishWhenHeard() {
    m_drain.reset(::pa_stream_drain(
        m_stream.get(),
        [](pa_stream*, int, void* self) { callFromPulse([self] { static_cast<PulsePlayback*>(self)->stop(); }); },
        this));
}

} // namespace fenlo
