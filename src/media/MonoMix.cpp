#include "media/MonoMix.h"

#include <cstddef>
#include <numeric>

namespace fenlo {

void appendMono(std::vector<float>& mono, std::span<const float> frames, int channels, std::span<const int> chosen,
                float gain) {
    const auto frameSize = static_cast<std::size_t>(channels);
    for (std::size_t frame = 0; frame + frameSize <= frames.size(); frame += frameSize) {
        float sum = 0;
        for (const int channel : chosen)
            sum += frames[frame + static_cast<std::size_t>(channel)];
        mono.push_back(sum * gain);
    }
}

std::vector<int> allChannels(int channels) {
    std::vector<int> all(static_cast<std::size_t>(channels));
    std::iota(all.begin(), all.end(), 0);
    return all;
}

} // namespace fenlo
