#pragma once

#include <span>
#include <vector>

namespace fenlo {

/// Appends to `mono`, for each frame of `frames` [frames, channels], the sum of the chosen channels times `gain`.
void appendMono(std::vector<float>& mono, std::span<const float> frames, int channels, std::span<const int> chosen,
                float gain = 1);

/// The numbers of all channels: 0, 1, …
std::vector<int> allChannels(int channels);

} // namespace fenlo
