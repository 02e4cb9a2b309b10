#pragma once

#include <memory>
#include <span>
#include <stdexcept>
#include <vector>

namespace fenlo {

struct ResamplerError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Converts one channel from one sample rate to another, block by block, in the high quality of libsoxr. Equal rates
/// pass through.
///
/// Errors: ResamplerError, from every call.
class Resampler {
public:
    /// Rates in hertz.
    Resampler(double fromRate, double toRate);
    ~Resampler();

    /// Appends to `output` what is ready after these samples.
    void process(std::span<const float> samples, std::vector<float>& output);
    /// Appends the rest.
    void finish(std::vector<float>& output);

private:
    struct Converter;
    std::unique_ptr<Converter> m_converter; // none for equal rates
};

/// A whole signal at once.
/// Errors: ResamplerError.
std::vector<float> resample(std::vector<float> samples, double fromRate, double toRate);

} // namespace fenlo
