// An hour's meeting, played at thirty times the speed through the program's own parts: recorder, controller, queue,
// archive and the engine with the demonstration model. Only the sound hardware is made up. It tells how memory grows,
// what the tick costs the main thread, how far the words lag behind, and whether the file is complete in the end.
//
// Time runs faster for everything that asks a Clock or a MainQueue, and nothing else is changed: a chunk still is ten
// seconds of samples, so what it costs is what it costs in a real meeting. There are thirty times as many of them.
//
//     meeting_hour [SECONDS [SPEED]] 2>/dev/null       the log goes to standard error

#include "FastTime.h"
#include "Talk.h"

#include "WhisperEngine/WhisperEngine.h"
#include "audio/AudioRecorder.h"
#include "base/Background.h"
#include "base/Files.h"
#include "base/NotificationCenter.h"
#include "meeting/MeetingArchive.h"
#include "meeting/MeetingModeController.h"
#include "settings/Config.h"
#include "settings/Keychain.h"
#include "speech/Transcriber.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeHttpClient.h"
#include "support/FakeSecureStore.h"
#include "support/TemporaryFolder.h"

#include <cstdio>
#include <fstream>
#include <thread>

using namespace fenlo;
namespace fs = std::filesystem;

namespace {

/// The demonstration model, by the instructions that the processor announces.
LocalTranscriber::EngineMaker engineMaker(HttpClient& http, Clock& clock) {
    return [&](const std::string& name, const fs::path& folder, const LocalTranscriber::Steps&, std::stop_token stop) {
        whisper::WhisperEngineConfig config;
        config.model = name;
        config.downloadBase = folder;
        config.bundledModels = fs::path(DEMO_MODEL_FOLDER).parent_path();
        const std::shared_ptr engine = whisper::WhisperEngine::create(std::move(config), http, clock, stop);
        return [engine](const LocalTranscriber::Clip& clip, const whisper::DecodingOptions& options,
                        std::stop_token cancel) {
            return engine->transcribe(std::get<fs::path>(clip.sound), options, {}, cancel);
        };
    };
}

/// All parts of the program that a meeting needs, in a home of their own.
struct Program {
    explicit Program(double itsSpeed) : speed(itsSpeed) {
        microphone.microphone.format = {bench::hardwareRate, 1};
        config.update([](Settings& settings) { settings.offlineMode = true; });
        local.setup({}, {});
        if (!local.isReady())
            throw std::runtime_error(local.setupFault());
        meetings.setCaptureSystemAudio(true);
    }

    std::string transcribe(const TranscribeRequest& request, std::stop_token stop) {
        const double begin = system.now();
        std::string text = transcriber.transcribe(request, stop);
        decodings.with([&](bench::Costs& costs) { costs.add(system.now() - begin); });
        return text;
    }

    /// Whether the meeting's file is complete; its folder is gone then.
    bool isFiled() const {
        return meetings.pendingChunks() == 0 && meetings.sessionFile() &&
               std::ranges::none_of(fs::directory_iterator(archive.folder()),
                                    [](const auto& entry) { return entry.is_directory(); });
    }

    const double speed;
    SystemClock system;
    bench::FastClock clock{speed};
    RunLoop loop;
    bench::FastQueue mainQueue{loop, speed};
    NotificationCenter notifications;
    Config config{Config::defaultFile(), clock};
    const Deployment deployment = Deployment::load();
    test::FakeHttpClient http;
    test::FakeSecureStore secrets;
    Keychain keychain{secrets};
    ServiceKeys keys{keychain, {}, ""};
    LocalTranscriber local{fs::path(DEMO_MODEL_FOLDER).filename(), files::dataDirectory() / "models",
                           engineMaker(http, system), system};
    Transcriber transcriber{config, deployment, http, keys, local, {}, clock};
    Guarded<bench::Costs> decodings; // by the wall clock
    test::FakeAudioInput microphone;
    bench::Loudspeaker computer;
    AudioRecorder recorder{microphone, clock, mainQueue, config, notifications};
    MeetingArchive archive{files::dataDirectory() / "meetings"};
    MeetingNotesWriter writer{{config, deployment, http, keys}};
    MeetingDelivery delivery{{keychain, writer, clock, {}, nullptr}};
    ThreadBackground background;
    MeetingModeController meetings{{.config = config,
                                    .clock = clock,
                                    .mainQueue = mainQueue,
                                    .background = background,
                                    .systemAudio = computer,
                                    .archive = archive,
                                    .notesWriter = writer,
                                    .delivery = delivery,
                                    .transcribe = [this](const TranscribeRequest& request, std::stop_token stop) {
                                        return transcribe(request, std::move(stop));
                                    }}};
};

void printMemory(const std::string& when, const MeetingModeController& meetings) {
    double whole = 0, own = 0;
    std::ifstream rollup("/proc/self/smaps_rollup");
    for (std::string line; std::getline(rollup, line);) {
        std::sscanf(line.c_str(), "Pss: %lf", &whole);
        std::sscanf(line.c_str(), "Pss_Anon: %lf", &own);
    }
    std::printf("%-10s  %6.1f MB, %6.1f MB of it data, %4zu segments, %d chunks wait\n", when.c_str(), whole / 1024,
                own / 1024, meetings.segments().size(), meetings.pendingChunks());
    std::fflush(stdout);
}

/// Plays, stops, and waits for the file; nothing when it does not come.
struct Outcome {
    int wordsSpoken = 0;
    std::optional<double> lateness; // real seconds from the stop to the complete file
    double stop = 0;                // processor seconds on the main thread
    int mostWaiting = 0;
};

Outcome play(Program& program, bench::Talk& talk, double seconds) {
    constexpr double patience = 300;
    Outcome outcome;
    double stopped = 0;
    MeetingModeController& meetings = program.meetings;
    const Timer minutes = program.loop.every(600 / program.speed, [&] {
        if (meetings.isActive())
            printMemory(std::to_string(std::lround(meetings.elapsedTime() / 60)) + " min", meetings);
    });
    const Timer look = program.loop.every(0.01, [&] {
        outcome.mostWaiting = std::max(outcome.mostWaiting, meetings.pendingChunks());
        if (meetings.isActive() || stopped == 0)
            return;
        if (program.isFiled())
            outcome.lateness = program.system.now() - stopped;
        if (outcome.lateness || program.system.now() - stopped > patience)
            program.loop.quit();
    });
    meetings.startMeeting(program.recorder);
    std::jthread audio([&] {
        program.loop.post([&, words = talk.play(seconds)] {
            outcome.wordsSpoken = words;
            const double begin = bench::processorSeconds();
            meetings.stopMeeting();
            outcome.stop = bench::processorSeconds() - begin;
            stopped = program.system.now();
        });
    });
    program.loop.run();
    program.background.stop();
    return outcome;
}

/// Whether all went well.
bool print(Program& program, double seconds, const Outcome& outcome) {
    const MeetingModeController& meetings = program.meetings;
    printMemory("at the end", meetings);
    const auto past = program.archive.load();
    int words = 0;
    if (!past.empty())
        for (const PastMeetingSegment& segment : past.front().segments)
            words += bench::wordsIn(segment.text);
    const bench::Costs& ticks = program.mainQueue.repeated;
    const bench::Costs& others = program.mainQueue.once;
    const bench::Costs decodings = program.decodings.with([](const bench::Costs& costs) { return costs; });
    std::printf("ticks       %ld of %.0f; longest %.2f ms, mean %.4f ms of the processor\n", ticks.count, seconds * 30,
                ticks.longest * 1000, ticks.mean() * 1000);
    std::printf("main thread longest other step %.2f ms, the stop %.2f ms of the processor\n", others.longest * 1000,
                outcome.stop * 1000);
    std::printf("decoding    %ld chunks, mean %.0f ms, longest %.0f ms; %d chunks waited at most, %d lost\n",
                decodings.count, decodings.mean() * 1000, decodings.longest * 1000, outcome.mostWaiting,
                meetings.lostChunks());
    const bool isComplete = outcome.lateness && meetings.lostChunks() == 0 && past.size() == 1 &&
                            past.front().segments.size() == meetings.segments().size();
    std::printf("file        %s %.2f s after the stop; %zu segments; %d words spoken, %d in the file\n",
                isComplete ? "complete" : "NOT COMPLETE", outcome.lateness.value_or(-1), meetings.segments().size(),
                outcome.wordsSpoken, words);
    return isComplete && ticks.longest < 0.005;
}

} // namespace

int main(int argc, char** argv) try {
    const double seconds = argc > 1 ? std::stod(argv[1]) : 3600;
    const double speed = argc > 2 ? std::stod(argv[2]) : 30;
    const test::TemporaryFolder home;
    const test::EnvironmentVariable homePath("HOME", home.path.c_str()), state("XDG_STATE_HOME", nullptr),
        cache("XDG_CACHE_HOME", nullptr);
    Program program(speed);
    bench::Talk talk(program.microphone, program.computer, speed);
    printMemory("before", program.meetings);
    const Outcome outcome = play(program, talk, seconds);
    return print(program, seconds, outcome) ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "meeting_hour: %s\n", error.what());
    return 1;
}
