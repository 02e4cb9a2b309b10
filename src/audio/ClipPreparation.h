#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string_view>

namespace fenlo {

/// The name of a prepared clip begins with this; a UUID and ".wav" follow.
inline constexpr std::string_view preparedClipPrefix = "fenlo_pre_";

/// Makes a clip small for the upload: 16 kHz, mono, 16 bit, and without the silence at either end when it is three
/// seconds or longer.
///
/// Returns a new file in the temporary folder, or the clip itself when it needs no change or something fails. Blocks;
/// safe on any thread.
std::filesystem::path prepareClip(const std::filesystem::path& clip);

/// Deletes the file that prepareClip() made; never the clip itself.
void removePreparedClip(const std::filesystem::path& prepared, const std::filesystem::path& clip);

struct SampleRange {
    std::size_t start = 0;
    std::size_t end = 0;
};

/// The stretch of 16 kHz samples that holds speech, with 300 ms to either side; none when nothing stands out.
std::optional<SampleRange> speechRange(std::span<const float> samples);

} // namespace fenlo
