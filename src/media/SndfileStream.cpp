#include "media/SoundStream.h"
#include "media/WavLength.h"

#include <algorithm>
#include <memory>
#include <sndfile.h>
#include <vector>

namespace fenlo {

namespace {

struct Closer {
    void operator()(SNDFILE* file) const { ::sf_close(file); }
};

/// Lets libsndfile read a view.
struct ViewReader {
    explicit ViewReader(FileView theView) : view(std::move(theView)) {}

    static sf_count_t size(void* self) { return static_cast<sf_count_t>(static_cast<ViewReader*>(self)->view.size()); }
    static sf_count_t tell(void* self) { return static_cast<ViewReader*>(self)->position; }
    static sf_count_t write(const void*, sf_count_t, void*) { return 0; }
    static sf_count_t seek(sf_count_t offset, int whence, void* self) {
        auto& reader = *static_cast<ViewReader*>(self);
        const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? reader.position : size(self);
        // Positions beyond the end are allowed, as in a file.
        reader.position = std::max<sf_count_t>(0, base + std::clamp(offset, -farthest, farthest));
        return reader.position;
    }
    static sf_count_t read(void* bytes, sf_count_t count, void* self) {
        auto& reader = *static_cast<ViewReader*>(self);
        const auto size = static_cast<sf_count_t>(reader.view.read(
            static_cast<std::uint64_t>(reader.position), {static_cast<char*>(bytes), static_cast<std::size_t>(count)}));
        reader.position += size;
        return size;
    }

    static constexpr sf_count_t farthest = sf_count_t{1} << 60;
    FileView view;
    sf_count_t position = 0;
};

struct Sound {
    static std::shared_ptr<Sound> open(FileView view) {
        auto sound = std::make_shared<Sound>();
        sound->reader = std::make_unique<ViewReader>(std::move(view));
        SF_VIRTUAL_IO calls{ViewReader::size, ViewReader::seek, ViewReader::read, ViewReader::write, ViewReader::tell};
        sound->handle.reset(::sf_open_virtual(&calls, SFM_READ, &sound->info, sound->reader.get()));
        return sound->handle ? sound : nullptr;
    }

    std::unique_ptr<ViewReader> reader; // the handle reads through it; none for a pipe
    SF_INFO info{};
    std::unique_ptr<SNDFILE, Closer> handle;
    std::vector<float> block;
    std::uint64_t framesRead = 0;
    std::uint64_t claimedFrames = 0; // 0 when a cut cannot be detected
};

SoundStream streamOf(std::shared_ptr<Sound> sound) {
    const auto channels = static_cast<std::size_t>(sound->info.channels);
    sound->block.resize(std::max<std::size_t>(1, blockSamples / channels) * channels);
    const sf_count_t frames = sound->info.frames;
    return {.sampleRate = sound->info.samplerate,
            .channels = sound->info.channels,
            .expectedFrames = frames > 0 && frames < SF_COUNT_MAX ? static_cast<std::uint64_t>(frames) : 0,
            .next = [sound, channels]() -> SoundBlock {
                const auto wanted = static_cast<sf_count_t>(sound->block.size() / channels);
                const sf_count_t read = ::sf_readf_float(sound->handle.get(), sound->block.data(), wanted);
                const auto count = static_cast<std::size_t>(std::clamp<sf_count_t>(read, 0, wanted));
                sound->framesRead += count;
                if (count == 0 && sound->framesRead < sound->claimedFrames)
                    return {.samples = {}, .isDamaged = true, .lost = sound->claimedFrames - sound->framesRead};
                return {.samples = std::span<const float>(sound->block).first(count * channels)};
            }};
}

/// Bytes of an uncompressed sample; 0 for other encodings.
std::uint64_t sampleWidth(int format) {
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
        return 1;
    case SF_FORMAT_PCM_16:
        return 2;
    case SF_FORMAT_PCM_24:
        return 3;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
        return 4;
    case SF_FORMAT_DOUBLE:
        return 8;
    default:
        return 0;
    }
}

bool isPlain(int format) {
    switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
    case SF_FORMAT_RF64:
    case SF_FORMAT_W64:
    case SF_FORMAT_AIFF:
    case SF_FORMAT_AU:
    case SF_FORMAT_CAF:
        return sampleWidth(format) > 0;
    default:
        return false;
    }
}

/// Sizes that a writer leaves when it does not know the length beforehand.
bool isPlaceholder(std::uint64_t bytes) {
    constexpr std::uint64_t slack = 65536;
    const auto isNear = [bytes](std::uint64_t size) { return bytes + slack >= size && bytes <= size + slack; };
    return isNear(std::uint64_t{1} << 31) || isNear(std::uint64_t{1} << 32) || bytes >= std::uint64_t{1} << 48;
}

/// The frames that the header claims; libsndfile itself limits them to the size of the file.
std::uint64_t claimedFrames(const Sound& sound) {
    FileView endless = sound.reader->view;
    endless.claim(std::uint64_t{1} << 50);
    const auto claiming = Sound::open(std::move(endless));
    if (!claiming || claiming->info.frames <= sound.info.frames)
        return 0;
    const auto frames = static_cast<std::uint64_t>(claiming->info.frames);
    const std::uint64_t frameSize = sampleWidth(sound.info.format) * static_cast<std::uint64_t>(sound.info.channels);
    return frames > (std::uint64_t{1} << 48) || isPlaceholder(frames * frameSize) ? 0 : frames;
}

} // namespace

std::optional<SoundStream> openSndfile(const FileView& view) {
    auto sound = Sound::open(withWholeWavData(view));
    if (!sound) {
        // A cut CAF file, for example, is refused only because of its length.
        FileView endless = view;
        endless.claim(std::uint64_t{1} << 50);
        sound = Sound::open(std::move(endless));
        if (!sound || !isPlain(sound->info.format))
            return {};
        sound->claimedFrames = static_cast<std::uint64_t>(sound->info.frames);
        return streamOf(std::move(sound));
    }
    if (isPlain(sound->info.format))
        sound->claimedFrames = claimedFrames(*sound);
    return streamOf(std::move(sound));
}

std::optional<SoundStream> openSndfilePipe(int descriptor) {
    auto sound = std::make_shared<Sound>();
    sound->handle.reset(::sf_open_fd(descriptor, SFM_READ, &sound->info, SF_FALSE));
    if (!sound->handle)
        return {};
    auto stream = streamOf(std::move(sound));
    stream.expectedFrames = 0;
    return stream;
}

} // namespace fenlo
