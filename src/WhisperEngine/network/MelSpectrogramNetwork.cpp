#include "WhisperEngine/network/MelSpectrogramNetwork.h"

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/MelFilters.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "media/RealTransform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

namespace fenlo::whisper {

namespace {

constexpr float floor = 1e-10f; // of the power, before the logarithm
constexpr int padding = mel::fftSize / 2;

/// The signal with its mirror image at both ends.
std::vector<float> reflected(std::span<const float> audio) {
    std::vector<float> padded(audio.size() + 2UL * padding);
    std::ranges::copy(audio, padded.begin() + padding);
    for (std::size_t i = 1; i <= padding; ++i) {
        padded[padding - i] = audio[i];
        padded[padding + audio.size() - 1 + i] = audio[audio.size() - 1 - i];
    }
    return padded;
}

/// How many frames have anything but zeros in their window. Audio shorter than a window is padded with zeros.
int soundingFrames(std::span<const float> padded, int frames) {
    std::size_t end = padded.size();
    while (end > 0 && padded[end - 1] == 0.0f)
        --end;
    return std::min(frames, static_cast<int>((end + mel::hop - 1) / mel::hop));
}

} // namespace

/// The transform and buffers of one thread.
class MelSpectrogramNetwork::Worker {
public:
    explicit Worker(const MelSpectrogramNetwork& network) : m_network(network) {}

    /// One frame, written down a column of the features.
    void run(const float* samples, float* column, std::size_t stride) {
        for (std::size_t i = 0; i < mel::fftSize; ++i)
            m_windowed[i] = samples[i] * m_network.m_window[i];
        const auto spectrum = m_transform(m_windowed);
        for (std::size_t i = 0; i < mel::bins; ++i)
            m_power[i] = spectrum[i].r * spectrum[i].r + spectrum[i].i * spectrum[i].i;
        for (const Band& band : m_network.m_bands) {
            float sum = 0;
            for (std::size_t i = 0; i < band.weights.size(); ++i)
                sum += band.weights[i] * m_power[static_cast<std::size_t>(band.firstBin) + i];
            *column = std::log10(std::max(sum, floor));
            highest = std::max(highest, *column);
            column += stride;
        }
    }

    float highest = std::log10(floor);

private:
    const MelSpectrogramNetwork& m_network;
    RealTransform m_transform{mel::fftSize};
    std::array<float, mel::fftSize> m_windowed{};
    std::array<float, mel::bins> m_power{};
};

MelSpectrogramNetwork::MelSpectrogramNetwork(CompiledFile file, ThreadPool& pool)
    : m_file(std::move(file)), m_window(m_file.floats("window", {mel::fftSize})), m_pool(pool) {
    const std::span<const float> filters = m_file.floats("filters", {melBands(), mel::bins});
    const auto sounds = [](float weight) { return weight != 0.0f; };
    for (int band = 0; band < melBands(); ++band) {
        const auto row = filters.subspan(static_cast<std::size_t>(band) * mel::bins, mel::bins);
        const auto first = std::ranges::find_if(row, sounds);
        const auto last = std::find_if(row.rbegin(), row.rend(), sounds).base();
        m_bands.push_back(first < last ? Band{static_cast<int>(first - row.begin()), {first, last}} : Band{});
    }
}

int MelSpectrogramNetwork::windowSamples() const {
    return melFrames() * mel::hop;
}

int MelSpectrogramNetwork::melBands() const {
    return m_file.identity().architecture.melBands;
}

int MelSpectrogramNetwork::melFrames() const {
    return m_file.identity().architecture.melFrames();
}

void MelSpectrogramNetwork::predict(std::span<const float> audio, std::span<float> melspectrogram_features) const {
    const auto frames = static_cast<std::size_t>(melFrames());
    if (audio.size() != static_cast<std::size_t>(windowSamples()) ||
        melspectrogram_features.size() != frames * m_bands.size())
        throw WhisperError(WhisperError::Kind::decodingFailed, "The audio has not the length of a window.");
    const std::vector<float> padded = reflected(audio);
    const int sounding = soundingFrames(padded, melFrames());

    std::vector<Worker> workers;
    const int tasks = std::max(1, std::min(m_pool.size(), sounding / 50));
    for (int i = 0; i < tasks; ++i)
        workers.emplace_back(*this);
    const auto work = [&](int task) {
        for (int frame = sounding * task / tasks; frame < sounding * (task + 1) / tasks; ++frame)
            workers[static_cast<std::size_t>(task)].run(padded.data() + static_cast<std::ptrdiff_t>(frame) * mel::hop,
                                                        melspectrogram_features.data() + frame, frames);
    };
    m_pool.run(tasks, work);

    const float highest = std::ranges::max_element(workers, {}, &Worker::highest)->highest;
    for (std::size_t band = 0; band < m_bands.size(); ++band) {
        const auto row = melspectrogram_features.subspan(band * frames, frames);
        std::fill(row.begin() + sounding, row.end(), std::log10(floor));
        for (float& value : row)
            value = (std::max(value, highest - 8.0f) + 4.0f) / 4.0f;
    }
}

} // namespace fenlo::whisper
