#pragma once

#include "media/FileView.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <stop_token>

/// The decoders behind AudioFileReader. Each opens one kind of recording.
namespace fenlo {

struct SoundBlock {
    std::span<const float> samples; // [frames, channels]; empty at the end. Valid until the next call.
    bool isDamaged = false;         // something is missing before the samples
    std::uint64_t lost = 0;         // frames missing there; 0 when the file does not say
};

/// An open recording.
///
/// Errors: AudioFileError, from next().
struct SoundStream {
    int sampleRate = 0; // hertz, as the file says
    int channels = 0;
    std::uint64_t expectedFrames = 0; // as the file claims, not to be trusted; 0 for unknown
    std::function<SoundBlock()> next;
};

inline constexpr std::size_t blockSamples = 65536; // what a decoder without frames of its own gives in one block

/// Opens a recording in any format that the libraries below read; none for another format.
std::optional<SoundStream> openSound(const FileView& view);

/// By libsndfile; none when it does not know the format. An uncompressed recording whose header gives a wrong length is
/// read to the end of the file.
std::optional<SoundStream> openSndfile(const FileView& view);
/// The same from a pipe, which must stay open.
std::optional<SoundStream> openSndfilePipe(int descriptor);

/// The pages of an Ogg file: all intact, some damaged or missing, or cut off.
enum class OggPages { intact, damaged, cut };
OggPages checkOggPages(const FileView& view);

/// FLAC by libFLAC; `pages` for FLAC in an Ogg file. Frames carry their places, so gaps are exact.
std::optional<SoundStream> openFlac(const FileView& view, std::optional<OggPages> pages = {});

/// MPEG audio by libmpg123. The length of a gap is estimated from its bytes.
std::optional<SoundStream> openMpeg(const FileView& view);

/// An Ogg file. Its pages carry check sums and times: the stretches between damaged pages are read by libsndfile and
/// put at their times.
std::optional<SoundStream> openOgg(const FileView& view);

/// The first sound track of a file that an installed ffmpeg program reads, with silence in gaps.
/// Errors: AudioFileError when there is no such program or it cannot read the file.
SoundStream openWithFfmpeg(const std::filesystem::path& file, std::stop_token stop);

} // namespace fenlo
