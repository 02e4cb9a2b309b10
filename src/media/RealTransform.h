#pragma once

#include <kiss_fftr.h>
#include <memory>
#include <span>
#include <vector>

namespace fenlo {

/// The Fourier transform of real signals of one length, with a buffer of its own.
///
/// Threads: one at a time.
/// Units:   unscaled: a constant signal of ones gives `size` in the first bin.
class RealTransform {
public:
    /// `size` is even.
    explicit RealTransform(std::size_t size);

    /// The spectrum of `size` samples from no frequency to half the sample rate, [size / 2 + 1]. Valid until the next
    /// call.
    std::span<const kiss_fft_cpx> operator()(std::span<const float> samples);

private:
    struct Free {
        void operator()(kiss_fftr_state* state) const { kiss_fftr_free(state); }
    };

    std::unique_ptr<kiss_fftr_state, Free> m_state;
    std::vector<kiss_fft_cpx> m_spectrum;
};

} // namespace fenlo
