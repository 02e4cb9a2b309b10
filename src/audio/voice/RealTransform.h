#pragma once

#include <kiss_fftr.h>
#include <memory>
#include <span>
#include <vector>

namespace fenlo::voice {

/// The Fourier transform of real signals of one even length, unscaled, with a buffer of its own.
class RealTransform {
public:
    explicit RealTransform(std::size_t size);

    /// The lower half of the spectrum of `size` samples, [size / 2 + 1]. Valid until the next call.
    std::span<const kiss_fft_cpx> operator()(std::span<const float> samples);

private:
    struct Free {
        void operator()(kiss_fftr_state* state) const { kiss_fftr_free(state); }
    };

    std::unique_ptr<kiss_fftr_state, Free> m_state;
    std::vector<kiss_fft_cpx> m_spectrum;
};

} // namespace fenlo::voice
