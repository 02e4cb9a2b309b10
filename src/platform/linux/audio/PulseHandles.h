#pragma once

#include <cstdint>
#include <memory>
#include <pulse/def.h>
#include <pulse/operation.h>
#include <pulse/sample.h>
#include <pulse/stream.h>

/// Owners of what libpulse hands out. To be used under the connection's lock.
namespace fenlo {

/// The callback of a question that is still under way does not come any more.
struct CancelPulseOperation {
    void operator()(pa_operation* operation) const;
};
using PulseOperation = std::unique_ptr<pa_operation, CancelPulseOperation>;

/// None of its callbacks comes any more.
struct ClosePulseStream {
    void operator()(pa_stream* stream) const;
};
using PulseStream = std::unique_ptr<pa_stream, ClosePulseStream>;

/// The server's choice in everything but the length of what is played ahead, or of what is recorded at a time.
pa_buffer_attr playbackBuffer(const pa_sample_spec& format, pa_usec_t length);
pa_buffer_attr recordBuffer(const pa_sample_spec& format, pa_usec_t fragment);

} // namespace fenlo
