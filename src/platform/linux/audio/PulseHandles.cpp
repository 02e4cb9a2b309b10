#include "platform/linux/audio/PulseHandles.h"

namespace fenlo {

namespace {

constexpr auto serversChoice = static_cast<std::uint32_t>(-1);

pa_buffer_attr serversBuffer() {
    pa_buffer_attr attributes{};
    attributes.maxlength = serversChoice;
    attributes.tlength = serversChoice;
    attributes.prebuf = serversChoice;
    attributes.minreq = serversChoice;
    attributes.fragsize = serversChoice;
    return attributes;
}

} // namespace

void CancelPulseOperation::operator()(pa_operation* operation) const {
    ::pa_operation_cancel(operation);
    ::pa_operation_unref(operation);
}

void ClosePulseStream::operator()(pa_stream* stream) const {
    ::pa_stream_set_state_callback(stream, nullptr, nullptr);
    ::pa_stream_set_read_callback(stream, nullptr, nullptr);
    ::pa_stream_set_write_callback(stream, nullptr, nullptr);
    ::pa_stream_set_moved_callback(stream, nullptr, nullptr);
    ::pa_stream_disconnect(stream);
    ::pa_stream_unref(stream);
}

pa_buffer_attr playbackBuffer(const pa_sample_spec& format, pa_usec_t length) {
    pa_buffer_attr attributes = serversBuffer();
    attributes.tlength = static_cast<std::uint32_t>(::pa_usec_to_bytes(length, &format));
    return attributes;
}

pa_buffer_attr recordBuffer(const pa_sample_spec& format, pa_usec_t fragment) {
    pa_buffer_attr attributes = serversBuffer();
    attributes.fragsize = static_cast<std::uint32_t>(::pa_usec_to_bytes(fragment, &format));
    return attributes;
}

} // namespace fenlo
