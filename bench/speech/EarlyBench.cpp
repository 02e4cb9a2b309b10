// From the release of the key to the words, offline, with and without recognising ahead: a take of the given length is
// played to the recorder, by a model of the published shape "small" with random weights that is made to say four or
// five tokens a second. The two kinds of takes alternate, so that what else the machine does hits both alike. Those
// that are not recognised ahead are played faster, since nothing happens before their end.
//
//     bench_early [TAKES] [SECONDS...]          5 takes of 2, 5, 15 and 60 seconds by default

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/TokenSampler/LogitsFilter.h"
#include "WhisperEngine/WhisperEngine.h"
#include "WhisperEngine/support/RandomCheckpoint.h"
#include "audio/AudioRecorder.h"
#include "base/Background.h"
#include "base/Files.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "session/EarlyRecognition.h"
#include "settings/Config.h"
#include "speech/ClipEngine.h"
#include "support/FakeAudio.h"
#include "support/FakeHttpClient.h"
#include "support/Signals.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;
namespace fs = std::filesystem;

namespace {

constexpr double inputRate = 48000;
constexpr double tokensPerSecond = 4.5;
constexpr double sentence = 4, pause = 0.4; // seconds
constexpr double fastPace = 5;              // times real time

std::atomic<int> tokensOfWindow = 0;
std::atomic<int> endOfWindow = 0; // in time tokens

/// Has the decoder say as many tokens as were spoken, whatever it computes.
class Script final : public whisper::LogitsFilter {
public:
    void filterLogits(std::span<float> logits, std::span<const int> tokens) const override {
        constexpr int endToken = 50256, firstTime = 50363, promptLength = 1, word = 400;
        const int said = static_cast<int>(tokens.size()) - promptLength;
        int next = word + said;
        if (said == 0)
            next = firstTime;
        else if (said == tokensOfWindow)
            next = firstTime + endOfWindow;
        else if (said > tokensOfWindow)
            next = endToken;
        std::ranges::fill(logits, -1000.0F);
        logits[static_cast<std::size_t>(next)] = 0;
    }
};

/// Notes how much was spoken in a window before it is decoded.
LocalTranscriber::Engine talking(LocalTranscriber::Engine engine) {
    return [engine](LocalTranscriber::Clip clip, const whisper::DecodingOptions& options, const std::stop_token& stop) {
        clip.answer = [known = clip.answer](const whisper::WindowQuestion& window, const auto& decode) {
            return known(window, [&] {
                const auto end = std::ranges::find_if(window.samples.rbegin(), window.samples.rend(),
                                                      [](float sample) { return std::abs(sample) > 0.1F; });
                const auto samples = static_cast<int>(window.samples.rend() - end);
                tokensOfWindow = 1 + static_cast<int>(tokensPerSecond * samples / whisper::sampleRate);
                endOfWindow = std::min(samples / whisper::samplesPerTimeToken, whisper::mostTimeTokens);
                return decode();
            });
        };
        return engine(clip, options, stop);
    };
}

std::vector<float> speech(double seconds) {
    const auto total = static_cast<std::size_t>(seconds * inputRate);
    std::vector<float> take = noise(total, 0.002F);
    const std::vector<float> voice = hum(50, static_cast<std::size_t>(inputRate)); // 150 hertz at this rate
    for (std::size_t i = 0; i < total; ++i) {
        const double at = static_cast<double>(i) / inputRate;
        const bool isPause = std::fmod(at, sentence) > sentence - pause && at < seconds - pause;
        const bool isGap = std::fmod(at, 0.4) > 0.33;
        if (!isPause && !isGap)
            take[i] += 0.3F * voice[i % voice.size()];
    }
    return take;
}

double processorSeconds() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

struct Measured {
    double wait = 0;      // seconds from the release to the words
    double processor = 0; // seconds, all cores together
    double left = 0;      // of these, those after the release
};

class Bench {
public:
    explicit Bench(const fs::path& model)
        : m_local(
              "small", fs::temp_directory_path(), [&](auto&&...) { return talking(clipEngine(load(model))); },
              m_clock) {
        m_input.microphone.format = {inputRate, 1};
        m_local.setup({}, {});
        m_recorder.warmUp();
    }

    Measured take(double seconds, double breath, bool early) {
        m_isEarly = early;
        const double pace = early ? 1 : fastPace;
        const double processor = processorSeconds();
        m_loop.call([&] {
            m_recorder.startRecording();
            m_early.begin();
        });
        const std::vector<float> room = noise(static_cast<std::size_t>(inputRate), 0.002F);
        const double begin = m_clock.now();
        std::jthread player([&, take = speech(seconds)](const std::stop_token& stop) {
            std::size_t played = 0;
            constexpr std::size_t piece = 480;
            while (!stop.stop_requested()) {
                const auto& sound = played < take.size() ? take : room;
                m_input.hear(std::span(sound).subspan(played % (played < take.size() ? take.size() : 4800), piece));
                played += piece;
                m_clock.sleep(std::max(0.0, begin + static_cast<double>(played) / inputRate / pace - m_clock.now()));
            }
        });
        m_clock.sleep((seconds + breath) / pace);
        const double released = m_clock.now();
        const double before = processorSeconds();
        std::vector<fs::path> files;
        m_loop.call([&] {
            m_early.release();
            files = m_recorder.stopRecording();
            m_early.finish();
        });
        for (const fs::path& file : files) {
            m_local.transcribe(file, "en", {});
            fs::remove(file);
        }
        const double wait = m_clock.now() - released;
        m_loop.call([&] {
            m_early.drop();
            m_recorder.dropRunningCopy();
        });
        return {wait, processorSeconds() - processor, processorSeconds() - before};
    }

    /// Seconds from the cancel of a take to the end of what recognises it ahead, which was at it for `at` seconds.
    double cancel(double at) {
        m_isEarly = true;
        m_loop.call([&] { m_early.begin(); });
        std::vector<float> samples(16000, 0.1F);
        const std::stop_source stop;
        double ended = 0;
        std::jthread run([&] {
            try {
                m_local.recogniseAhead(samples, LocalTranscriber::Extent::everything, "en", stop);
            } catch (const std::exception&) {
            }
            ended = m_clock.now();
        });
        m_clock.sleep(at);
        const double asked = m_clock.now();
        m_loop.call([&] { m_early.drop(); });
        run.join();
        return std::max(0.0, ended - asked);
    }

    RunLoop& loop() { return m_loop; }
    ThreadBackground& background() { return m_background; }

private:
    static std::shared_ptr<const whisper::WhisperEngine> load(const fs::path& model) {
        static SystemClock clock;
        static FakeHttpClient noNetwork;
        whisper::WhisperEngineConfig config;
        config.modelFolder = model;
        config.logitsFilters = {std::make_shared<Script>()};
        return whisper::WhisperEngine::create(std::move(config), noNetwork, clock, {});
    }

    EarlySteps steps() {
        EarlyWindows& windows = m_local.early();
        EarlySteps steps;
        steps.reach = [this] { return m_isEarly ? EarlyReach::everything : EarlyReach::nothing; };
        steps.begin = [&windows] { windows.begin(); };
        steps.finish = [&windows] { windows.finish(); };
        steps.forget = [&windows] { windows.forget(); };
        steps.recognise = [this](auto samples, auto extent, auto&&, const auto& stop) {
            return m_local.recogniseAhead(samples, extent, "en", stop);
        };
        return steps;
    }

    SystemClock m_clock;
    RunLoop m_loop;
    ThreadBackground m_background;
    NotificationCenter m_notifications;
    Config m_config{files::temporaryFile("bench-", ".json"), m_clock};
    FakeAudioInput m_input;
    AudioRecorder m_recorder{m_input, m_clock, m_loop, m_config, m_notifications};
    LocalTranscriber m_local;
    bool m_isEarly = false; // changes between takes
    EarlyRecognition m_early{m_recorder, m_loop, m_background, steps()};
};

void print(double seconds, double breath, const char* how, std::vector<Measured> takes) {
    std::ranges::sort(takes, {}, &Measured::wait);
    double processor = 0, left = 0;
    for (const Measured& take : takes) {
        processor += take.processor / static_cast<double>(takes.size());
        left += take.left / static_cast<double>(takes.size());
    }
    std::printf(
        "%4.0f s, released after %.2f s   %-7s %6.2f s (%.2f to %.2f)   processor %5.1f s, after the release %5.2f s\n",
        seconds, breath, how, takes[takes.size() / 2].wait, takes.front().wait, takes.back().wait, processor, left);
    std::fflush(stdout);
}

fs::path makeModel() {
    const fs::path folder = files::temporaryFile("bench-small-", "");
    RandomCheckpoint{{768, 12, 12, 3072, 12, 12, 3072, 80, 51864, 1500, 448},
                     fs::path(DEMO_MODEL_FOLDER) / "tokenizer.json"}
        .write(folder);
    return folder;
}

} // namespace

int main(int argc, char** argv) {
    const int takes = argc > 1 ? std::atoi(argv[1]) : 5;
    std::vector<double> lengths;
    for (int i = 2; i < argc; ++i)
        lengths.push_back(std::atof(argv[i]));
    if (lengths.empty())
        lengths = {2, 5, 15, 60};
    const char* const given = std::getenv("FENLO_BENCH_MODEL");
    const fs::path model = given ? fs::path(given) : makeModel();
    Bench bench(model);
    std::jthread driver([&] {
        for (const double seconds : lengths)
            for (const double breath : {0.1, 0.5}) {
                std::vector<Measured> before, after;
                for (int i = 0; i < takes; ++i) {
                    before.push_back(bench.take(seconds, breath, false));
                    after.push_back(bench.take(seconds, breath, true));
                }
                print(seconds, breath, "before", before);
                print(seconds, breath, "after", after);
            }
        double slowest = 0;
        for (double at = 0.02; at < 0.8; at += 0.03)
            slowest = std::max(slowest, bench.cancel(at));
        std::printf("a cancelled take ends within %.0f ms\n", 1000 * slowest);
        bench.loop().quit();
    });
    bench.loop().run();
    driver.join();
    bench.background().stop();
    if (!given)
        fs::remove_all(model);
}
