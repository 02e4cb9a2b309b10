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
    std::span<const float> samples; // [frames, channels]; empty at the end. Valid until the next block is asked for.
    bool isDamaged = false;         // something is missing before the samples
    std::uint64_t lost = 0;         // frames that are missing there; 0 where the file does not tell
};

/// An open recording.
///
/// Errors: AudioFileError, from next().
struct SoundStream {
    int sampleRate = 0; // hertz, as the file says
    int channels = 0;
    std::uint64_t expectedFrames = 0; // as the file says, which may be hostile; 0 for not told
    std::function<SoundBlock()> next;
};

inline constexpr std::size_t blockSamples = 65536; // what a decoder without frames of its own gives at once

/// Whatever one of the libraries below reads; none where none knows the format.
std::optional<SoundStream> openSound(const FileView& view);

/// Through libsndfile; none where it does not know the format. A recording without compression whose header tells a
/// wrong length is read to the end of the file.
std::optional<SoundStream> openSndfile(const FileView& view);
/// The same of a pipe, which must stay open.
std::optional<SoundStream> openSndfilePipe(int descriptor);

/// The pages of an Ogg file: all sound, some damaged or missing, or without the last one.
enum class OggPages { intact, damaged, cut };
OggPages checkOggPages(const FileView& view);

/// FLAC through libFLAC; `pages` for one in an Ogg file. Its frames carry their places, so that the gaps between the
/// sound ones are exact.
std::optional<SoundStream> openFlac(const FileView& view, std::optional<OggPages> pages = {});

/// MPEG audio through libmpg123. The length of a gap is estimated by its bytes.
std::optional<SoundStream> openMpeg(const FileView& view);

/// An Ogg file. Its pages carry check sums and times: what lies between damaged ones is read through libsndfile and put
/// in its place.
std::optional<SoundStream> openOgg(const FileView& view);

/// The first sound track of whatever an installed ffmpeg program reads, with silence where its times leave gaps.
/// Errors: AudioFileError, where there is no such program or it cannot read the file.
SoundStream openWithFfmpeg(const std::filesystem::path& file, std::stop_token stop);

} // namespace fenlo
