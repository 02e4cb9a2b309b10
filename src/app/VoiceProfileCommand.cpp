#include "app/Commands.h"
#include "app/ExitStatus.h"
#include "app/RecordingDamage.h"
#include "app/StandardOutput.h"
#include "audio/ChunkWriter.h"
#include "audio/voice/VoiceProfile.h"
#include "base/Clock.h"
#include "base/Json.h"
#include "media/AudioFile.h"
#include "settings/Config.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

constexpr auto voiceRate = static_cast<int>(voice::sampleRate); // hertz

int explain(const VoiceProfileError& error, const std::filesystem::path& recording, std::size_t sampleCount) {
    if (error.kind == VoiceProfileError::Kind::tooShort) {
        std::fprintf(stderr, "fenlo: %s lasts %.2f seconds; read aloud for at least three\n", recording.c_str(),
                     static_cast<double>(sampleCount) / voiceRate);
        return exitStatus::failed;
    }
    std::fprintf(stderr,
                 "fenlo: %s holds too little of a voice; come closer to the microphone, or record in a quieter place\n",
                 recording.c_str());
    return exitStatus::noSpeech;
}

void printForPeople(const VoiceProfileData& profile, const std::filesystem::path& file, bool isIsolationOn) {
    printFormatted("gender    %s (confidence %.2f)\n", profile.gender.c_str(), profile.genderConfidence);
    printFormatted("pitch     %.0f Hz (%.0f to %.0f Hz)\n", profile.pitchMedian, profile.pitchP10, profile.pitchP90);
    printFormatted("energy    %.3f (%.3f to %.3f)\n", static_cast<double>(profile.energyMedian),
                   static_cast<double>(profile.energyP25), static_cast<double>(profile.energyP75));
    printFormatted("centroid  %.0f Hz (deviation %.0f Hz)\n", profile.centroidMedian, profile.centroidStd);
    printFormatted("Stored in %s\n", file.c_str());
    if (isIsolationOn)
        print("Voice isolation is on: other voices are cut from your takes from now on.\n");
    else
        printFormatted("To have other voices cut from your takes, set \"voice_isolation\": true in %s\n",
                       Config::defaultFile().c_str());
}

void printForPrograms(const VoiceProfileData& profile, const std::filesystem::path& file, bool isIsolationOn) {
    auto result = parseOrderedJson(encodeVoiceProfile(profile));
    result["file"] = file.string();
    result["voiceIsolation"] = isIsolationOn;
    print(writeJson(result, 2) + "\n");
}

int runVoiceProfile(const std::filesystem::path& recording, bool json) {
    auto [samples, damages] = readRecording(recording, voiceRate);
    tellDamages(recording, damages);
    normalise(samples); // as the recorder raises quiet takes, which the profile is compared with
    const std::filesystem::path file = voiceProfileFile();
    LearnedVoice learned;
    try {
        learned = learnVoice(samples, file);
    } catch (const VoiceProfileError& error) {
        return explain(error, recording, samples.size());
    }
    if (!learned.isStored)
        throw std::runtime_error("cannot write " + file.string() + "; free some space or check the permissions");
    const SystemClock clock;
    const bool isIsolationOn = Config(Config::defaultFile(), clock).get().voiceIsolation;
    if (json)
        printForPrograms(learned.profile, file, isIsolationOn);
    else
        printForPeople(learned.profile, file, isIsolationOn);
    return damages.empty() ? exitStatus::ok : exitStatus::damaged;
}

struct VoiceProfileOptions {
    std::filesystem::path recording;
    bool json = false;
};

} // namespace

Command addVoiceProfileCommand(CLI::App& cli) {
    const auto options = std::make_shared<VoiceProfileOptions>();
    CLI::App& command = *cli.add_subcommand(
        "voice-profile", "Learn your voice from a recording of you, so that other voices can be cut from takes");
    command.footer(
        "Read aloud for ten to twenty seconds, close to the microphone, in a quiet room and as you usually speak. The\n"
        "profile, some numbers about your voice, is stored in ~/.fenlo/voice_profile.json; the recording is not kept.\n"
        "Voice isolation then cuts other voices when \"voice_isolation\": true is set in ~/.fenlo/config.json. It goes "
        "by\n"
        "pitch above all: it tells a low voice from a high one, but hardly two voices that are alike.");
    command
        .add_option("FILE", options->recording,
                    "at least three seconds of your voice: WAV, FLAC, Ogg, MP3; others with ffmpeg installed")
        ->required();
    command.add_flag("--json", options->json, "print a JSON object: the profile, file, voiceIsolation");
    return {&command, [options] { return runVoiceProfile(options->recording, options->json); }};
}

} // namespace fenlo
