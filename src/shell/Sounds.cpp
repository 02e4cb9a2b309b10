#include "shell/Sounds.h"

#include "base/Background.h"
#include "platform/AudioOutput.h"
#include "settings/Config.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <numbers>

namespace fenlo {

namespace {

constexpr std::size_t longestRamp = 882; // samples, 20 ms
constexpr double decay = 2;              // over a note, as an exponent of e

constexpr double startToneGap = 0.02; // seconds
constexpr double endToneGap = 0.015;

constexpr ToneNote beepNote{440, 0.15, WaveType::round};
constexpr float beepVolume = 0.2f;

std::size_t frames(double seconds) {
    return static_cast<std::size_t>(std::max(0.0, seconds) * toneSampleRate);
}

double waveValue(const ToneNote& note, double t) {
    const double phase = 2 * std::numbers::pi * note.freq * t;
    switch (note.wave) {
    case WaveType::sine:
        return std::sin(phase);
    case WaveType::soft:
        return std::sin(phase) + 0.15 * std::sin(2 * phase);
    case WaveType::round:
        return std::sin(phase) + 0.1 * std::sin(2 * phase) + 0.05 * std::sin(3 * phase);
    }
    return 0;
}

double raisedCosine(std::size_t step, std::size_t ramp) {
    return (1 - std::cos(static_cast<double>(step) * std::numbers::pi / static_cast<double>(ramp))) / 2;
}

/// The fade at both ends of a note of `length` samples.
double envelope(std::size_t i, std::size_t length, std::size_t ramp) {
    if (i < ramp)
        return raisedCosine(i, ramp);
    if (i > length - ramp)
        return raisedCosine(length - i, ramp);
    return 1;
}

} // namespace

std::vector<float> renderTones(const std::vector<ToneNote>& notes, double gap, float volume) {
    double seconds = notes.empty() ? 0 : gap * static_cast<double>(notes.size() - 1);
    for (const ToneNote& note : notes)
        seconds += note.duration;
    std::vector<float> samples(frames(seconds));

    std::size_t position = 0;
    for (const ToneNote& note : notes) {
        const std::size_t length = frames(note.duration);
        const std::size_t ramp = std::min(3 * length / 10, longestRamp);
        for (std::size_t i = 0; i < length && position + i < samples.size(); ++i) {
            const double value = waveValue(note, static_cast<double>(i) / toneSampleRate) * envelope(i, length, ramp);
            const double fall = std::exp(-decay * static_cast<double>(i) / static_cast<double>(length));
            samples[position + i] = static_cast<float>(value * fall * static_cast<double>(volume));
        }
        position += length + frames(gap);
    }
    return samples;
}

/// Plays sounds in the order of their requests, whatever the order in which they are rendered.
struct TonePlayer::Player {
    explicit Player(AudioOutput& o) : output(o) {}

    void play(unsigned long number, std::vector<float> samples) {
        std::lock_guard lock(mutex);
        if (number == latest && !samples.empty())
            output.play(std::move(samples), toneSampleRate);
    }
    unsigned long next() {
        std::lock_guard lock(mutex);
        return ++latest;
    }

    AudioOutput& output;
    std::mutex mutex;
    unsigned long latest = 0; // the number of the last sound asked for
};

TonePlayer::TonePlayer(AudioOutput& output, Background& background)
    : m_player(std::make_shared<Player>(output)), m_background(background) {}

void TonePlayer::playTones(std::vector<ToneNote> notes, double gap, float volume) {
    m_background.run([player = m_player, number = m_player->next(), notes = std::move(notes), gap,
                      volume](std::stop_token) { player->play(number, renderTones(notes, gap, volume)); });
}

void TonePlayer::beep() {
    playTones({beepNote}, 0, beepVolume);
}

void playStartTones(TonePlayer& tones, const Settings& settings) {
    const SoundScheme* scheme = SoundScheme::find(settings.soundScheme);
    if (settings.playSounds && scheme && !scheme->start.empty())
        tones.playTones(scheme->start, startToneGap, scheme->startVol);
}

void playEndTones(TonePlayer& tones, const Settings& settings) {
    const SoundScheme* scheme = SoundScheme::find(settings.soundScheme);
    if (settings.playSounds && scheme && !scheme->end.empty())
        tones.playTones(scheme->end, endToneGap, scheme->endVol);
}

} // namespace fenlo
