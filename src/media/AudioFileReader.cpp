#include "media/AudioFileReader.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr int lowestRate = 1000; // hertz
constexpr int highestRate = 768000;
constexpr std::uint64_t longest = 24UL * 3600;  // seconds
constexpr float loudestSample = 1e6F;           // more is damage, and would overflow in sums
constexpr std::uint64_t mostFramesOfAByte = 64; // speech at the lowest rates of lossy formats
constexpr double oneFault = 1.0;                // seconds; faults of unknown length closer than this count as one

SoundStream open(const fs::path& file, const FileView& view, AudioFormats formats, std::stop_token stop) {
    if (auto stream = openSound(view))
        return std::move(*stream);
    if (view.size() == 0)
        throw AudioFileError(file, "the file is empty; record it again");
    if (formats == AudioFormats::sndfile)
        throw AudioFileError(file, "the format is unknown or the file is damaged; convert it to WAV");
    return openWithFfmpeg(file, std::move(stop));
}

} // namespace

AudioFileReader::AudioFileReader(const fs::path& file, AudioFormats formats, std::stop_token stop) : m_file(file) {
    const FileView view(file);
    m_fileSize = view.size();
    m_stream = open(file, view, formats, std::move(stop));
    if (sampleRate() < lowestRate || sampleRate() > highestRate)
        throw AudioFileError(file, "a sample rate of " + std::to_string(sampleRate()) +
                                       " Hz is not one of sound; convert it to 16000 Hz");
}

std::size_t AudioFileReader::blockFrames() const {
    return std::max<std::size_t>(1, blockSamples / static_cast<std::size_t>(channels()));
}

std::size_t AudioFileReader::expectedFrames() const {
    const std::uint64_t claimed = m_stream.expectedFrames;
    return std::min({claimed > 0 ? claimed : std::numeric_limits<std::uint64_t>::max(), m_fileSize * mostFramesOfAByte,
                     longest * static_cast<std::uint64_t>(sampleRate())});
}

void AudioFileReader::note(const SoundBlock& block) {
    const double start = static_cast<double>(m_framesRead) / sampleRate();
    AudioDamage damage{
        .kind = block.samples.empty() ? AudioDamage::Kind::cut : AudioDamage::Kind::gap, .start = start, .lost = {}};
    if (block.lost > 0)
        damage.lost = static_cast<double>(block.lost) / sampleRate();
    const bool isSameFault =
        !m_damages.empty() && !damage.lost && !m_damages.back().lost && start - m_damages.back().start < oneFault;
    if (isSameFault && damage.kind == AudioDamage::Kind::gap)
        return;
    if (isSameFault)
        m_damages.pop_back();
    m_damages.push_back(damage);
}

std::span<const float> AudioFileReader::nextBlock() {
    const auto frameSize = static_cast<std::size_t>(channels());
    if (m_silence == 0 && m_pending.samples.empty() && !m_isAtEnd) {
        m_pending = m_stream.next();
        m_isAtEnd = m_pending.samples.empty();
        if (!m_isAtEnd && m_pending.lost > expectedFrames())
            m_pending.lost = 0; // more than the file can hold, so the length is unknown
        m_silence = m_isAtEnd ? 0 : m_pending.lost;
        if (m_pending.isDamaged)
            note(m_pending);
    }
    if (m_silence > 0) {
        const auto frames = std::min<std::uint64_t>(m_silence, blockFrames());
        m_silence -= frames;
        m_block.assign(static_cast<std::size_t>(frames) * frameSize, 0.0F);
    } else {
        const auto samples = std::exchange(m_pending.samples, {});
        m_block.resize(samples.size());
        std::ranges::transform(samples, m_block.begin(), [](float sample) {
            return std::abs(sample) <= loudestSample ? sample : 0; // written so that NaN gives 0
        });
    }
    m_framesRead += m_block.size() / frameSize;
    if (m_framesRead > longest * static_cast<std::uint64_t>(sampleRate()))
        throw AudioFileError(m_file, "the recording is longer than a day; cut it into shorter pieces");
    return m_block;
}

} // namespace fenlo
