#include "media/RealTransform.h"

#include <new>

namespace fenlo {

RealTransform::RealTransform(std::size_t size)
    : m_state(kiss_fftr_alloc(static_cast<int>(size), 0, nullptr, nullptr)), m_spectrum(size / 2 + 1) {
    if (!m_state)
        throw std::bad_alloc();
}

std::span<const kiss_fft_cpx> RealTransform::operator()(std::span<const float> samples) {
    kiss_fftr(m_state.get(), samples.data(), m_spectrum.data());
    return m_spectrum;
}

} // namespace fenlo
