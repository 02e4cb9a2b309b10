#include "media/Resampler.h"

#include <algorithm>
#include <array>
#include <soxr.h>

namespace fenlo {

namespace {

constexpr std::size_t blockSize = 16384; // samples; libsoxr keeps a copy of each block it is given

struct ConverterDeleter {
    void operator()(soxr_t handle) const { ::soxr_delete(handle); }
};

} // namespace

struct Resampler::Converter {
    Converter(double fromRate, double toRate) {
        const soxr_quality_spec_t quality = ::soxr_quality_spec(SOXR_HQ, 0);
        soxr_error_t error = nullptr;
        handle.reset(::soxr_create(fromRate, toRate, 1, &error, nullptr, &quality, nullptr));
        if (error || !handle)
            throw ResamplerError(error ? error : "no memory");
    }

    /// An empty block stands for the end of the signal.
    void process(std::span<const float> samples, std::vector<float>& output) {
        const bool isEnd = samples.empty();
        std::size_t written = 0;
        do {
            std::size_t taken = 0;
            if (const soxr_error_t error =
                    ::soxr_process(handle.get(), isEnd ? nullptr : samples.data(), samples.size(), &taken,
                                   converted.data(), converted.size(), &written))
                throw ResamplerError(error);
            output.insert(output.end(), converted.begin(), converted.begin() + static_cast<std::ptrdiff_t>(written));
            samples = samples.subspan(taken);
        } while (!samples.empty() || written == converted.size());
    }

    std::unique_ptr<soxr, ConverterDeleter> handle;
    std::array<float, blockSize> converted;
};

Resampler::Resampler(double fromRate, double toRate) {
    if (fromRate != toRate)
        m_converter = std::make_unique<Converter>(fromRate, toRate);
}

Resampler::~Resampler() = default;

void Resampler::process(std::span<const float> samples, std::vector<float>& output) {
    if (!m_converter) {
        output.insert(output.end(), samples.begin(), samples.end());
        return;
    }
    while (!samples.empty()) {
        const auto block = samples.first(std::min(samples.size(), blockSize));
        m_converter->process(block, output);
        samples = samples.subspan(block.size());
    }
}

void Resampler::finish(std::vector<float>& output) {
    if (m_converter)
        m_converter->process({}, output);
}

std::vector<float> resample(std::vector<float> samples, double fromRate, double toRate) {
    if (fromRate == toRate)
        return samples;
    std::vector<float> converted;
    converted.reserve(static_cast<std::size_t>(static_cast<double>(samples.size()) * toRate / fromRate) + 1);
    Resampler resampler(fromRate, toRate);
    resampler.process(samples, converted);
    resampler.finish(converted);
    return converted;
}

} // namespace fenlo
