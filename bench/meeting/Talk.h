#pragma once

#include "audio/ChunkWriter.h"
#include "base/Files.h"
#include "base/Json.h"
#include "media/AudioFile.h"
#include "support/FakeAudio.h"
#include "support/FakeSystemAudio.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <semaphore>
#include <span>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace fenlo::bench {

inline constexpr double hardwareRate = 48000; // hertz, of both sides

inline int wordsIn(const std::string& text) {
    std::istringstream stream(text);
    return static_cast<int>(std::distance(std::istream_iterator<std::string>(stream), {}));
}

struct Sentence {
    std::vector<float> samples; // at the hardware's rate
    int words = 0;
};

/// The reference recordings without the silence at their ends.
inline std::vector<Sentence> readSentences() {
    const std::filesystem::path folder = std::filesystem::path(GOLDEN_FOLDER) / "eval";
    std::vector<Sentence> sentences;
    for (const auto& entry : parseJsonOrThrow(files::read(folder / "references.json").value())) {
        const auto clip = readSoundFile(folder / entry.at("file").get<std::string>(), ChannelMix::first);
        const auto sampleAt = [&](double seconds) {
            return clip.mono.begin() +
                   std::min(static_cast<std::ptrdiff_t>(seconds * clip.sampleRate), std::ssize(clip.mono));
        };
        const std::vector<float> spoken(sampleAt(entry.at("speech_start_s").get<double>()),
                                        sampleAt(entry.at("speech_end_s").get<double>()));
        if (!spoken.empty())
            sentences.push_back({resampleLinearly(spoken, clip.sampleRate, hardwareRate),
                                 wordsIn(entry.at("reference").get<std::string>())});
    }
    return sentences;
}

/// The sound of a computer, which tells when somebody listens.
struct Loudspeaker final : SystemAudioInput {
    Opened open(Tap tap) override {
        Opened opened = fake.open(std::move(tap));
        isOpen.release();
        return opened;
    }
    test::FakeSystemAudio fake;
    std::binary_semaphore isOpen{0};
};

/// People who take turns, two in the room and one far away: one to five sentences with short breaths, so that a turn
/// may be longer than a chunk, and then a pause.
class Talk {
public:
    Talk(test::FakeAudioInput& microphone, Loudspeaker& computer, double speed)
        : m_microphone(microphone), m_computer(computer), m_speed(speed) {}

    /// On the audio thread. The words that were spoken.
    int play(double seconds) {
        m_computer.isOpen.acquire();
        m_start = std::chrono::steady_clock::now();
        int words = 0;
        std::size_t spoken = 0;
        for (std::size_t turn = 0; heard() < seconds; ++turn) {
            for (std::size_t i = 0; i <= turn * 7 % 5; ++i) {
                const Sentence& sentence = m_sentences[spoken++ % m_sentences.size()];
                words += sentence.words;
                hear(sentence.samples, turn % 3 == 2);
                pause(0.3);
            }
            pause(0.4 + 0.3 * static_cast<double>(turn % 5));
        }
        return words;
    }

private:
    static constexpr std::size_t blockFrames = 4096;

    double heard() const { return static_cast<double>(m_frames) / hardwareRate; }
    void pause(double seconds) { hear(std::vector<float>(static_cast<std::size_t>(seconds * hardwareRate)), false); }
    void hear(std::span<const float> samples, bool isFarAway) {
        for (; !samples.empty(); samples = samples.subspan(std::min(blockFrames, samples.size()))) {
            const auto block = samples.first(std::min(blockFrames, samples.size()));
            const std::vector<float> silence(block.size());
            m_frames += block.size();
            std::this_thread::sleep_until(m_start + std::chrono::duration<double>(heard() / m_speed));
            m_microphone.hear(isFarAway ? silence : block);
            m_computer.fake.hear(isFarAway ? block : silence);
        }
    }

    test::FakeAudioInput& m_microphone;
    Loudspeaker& m_computer;
    const double m_speed;
    const std::vector<Sentence> m_sentences = readSentences();
    std::chrono::steady_clock::time_point m_start;
    std::size_t m_frames = 0;
};

} // namespace fenlo::bench
