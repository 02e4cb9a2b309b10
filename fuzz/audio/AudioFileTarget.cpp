// Audio files: any bytes end in an error or in finite samples, which can be tested for speech, prepared and written.

#include "audio/ClipPreparation.h"
#include "audio/SpeechTest.h"
#include "base/Files.h"
#include "fuzz/Require.h"
#include "media/AudioFile.h"
#include "media/AudioFileReader.h"

#include <cmath>
#include <cstdint>
#include <fstream>

using namespace fenlo;

namespace {

constexpr std::uint64_t mostFrames = 1 << 26; // a file with little content may claim a day

void check(const std::filesystem::path& file, ChannelMix mix) {
    try {
        const AudioSamples audio = readSoundFile(file, mix);
        require(audio.sampleRate > 0);
        for (const float sample : audio.mono)
            require(std::isfinite(sample));
        testSpeech(audio.mono, static_cast<double>(audio.mono.size()) / audio.sampleRate);
    } catch (const AudioFileError&) {
    }
}

/// Damage lies within the recording, and the samples are finite.
void checkDamages(const std::filesystem::path& file) {
    try {
        AudioFileReader reader(file, AudioFormats::sndfile);
        std::uint64_t frames = 0;
        for (auto block = reader.nextBlock(); !block.empty() && frames < mostFrames; block = reader.nextBlock()) {
            require(block.size() % static_cast<std::size_t>(reader.channels()) == 0);
            frames += block.size() / static_cast<std::size_t>(reader.channels());
        }
        double last = 0;
        for (const AudioDamage& damage : reader.damages()) {
            require(damage.start >= last && damage.start * reader.sampleRate() <= static_cast<double>(frames) + 1);
            require(!damage.lost || *damage.lost > 0);
            last = damage.start;
        }
    } catch (const AudioFileError&) {
    }
}

} // namespace

// libsndfile 1.2.0 leaks the Vorbis state when the next header is damaged.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:vorbis_info_init\n";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::filesystem::path file = files::temporaryFile("fuzz-", ".audio");
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    check(file, ChannelMix::first);
    check(file, ChannelMix::average);
    checkDamages(file);
    const auto prepared = prepareClip(file);
    removePreparedClip(prepared, file);
    require(std::filesystem::exists(file));
    return 0;
}
