#pragma once

#include "settings/Choices.h"

#include <memory>
#include <vector>

namespace fenlo {

class AudioOutput;
class Background;
struct Settings;

enum class WaveType { sine, soft, round };

struct ToneNote {
    double freq;     // hertz
    double duration; // seconds
    WaveType wave;
};

/// The tones at the start and the end of a take, which the user picks by name.
struct SoundScheme {
    const char* id; // the word of its SoundSchemeId
    const char* name;
    const char* description;
    std::vector<ToneNote> start;
    std::vector<ToneNote> end;
    float startVol;
    float endVol;

    /// In the order of the settings list, which is that of SoundSchemeId.
    static const std::vector<SoundScheme>& all();
    /// Null for an unknown one.
    static const SoundScheme* find(SoundSchemeId which);
};

/// Played when nothing is said during a take.
inline constexpr ToneNote silenceTone{600, 0.03, WaveType::soft};

inline constexpr double toneSampleRate = 44100; // hertz

/// The notes as mono samples at toneSampleRate, with `gap` seconds of silence between them. Pure.
std::vector<float> renderTones(const std::vector<ToneNote>& notes, double gap, float volume);

/// Plays tones; a new one cuts off the one before.
///
/// Threads:  any. Rendering happens in the background.
/// Errors:   a tone that cannot be played is dropped without a message.
/// Lifetime: `output` outlives the tasks of `background`.
class TonePlayer {
public:
    TonePlayer(AudioOutput& output, Background& background);

    /// Returns at once. `gap` in seconds.
    void playTones(std::vector<ToneNote> notes, double gap, float volume);
    /// The short sound for something that went wrong.
    void beep();

private:
    struct Player;
    std::shared_ptr<Player> m_player;
    Background& m_background;
};

/// The tones of the chosen scheme around a take, unless they are switched off.
void playStartTones(TonePlayer& tones, const Settings& settings);
void playEndTones(TonePlayer& tones, const Settings& settings);

} // namespace fenlo
