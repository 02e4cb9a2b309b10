// What audio costs: the tap on the audio thread, the work between release and recognition.

#include "audio/AudioRecorder.h"
#include "audio/ClipPreparation.h"
#include "audio/WavFile.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "settings/Config.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>

using namespace fenlo;

namespace fs = std::filesystem;

namespace {

constexpr double rate = 48000;
constexpr std::size_t bufferSize = 4096;

/// Hands its tap out, so that the bench is the audio thread.
class HandOperatedEngine final : public CaptureEngine {
public:
    explicit HandOperatedEngine(Tap& tap) : m_tap(tap) {}
    InputFormat format() const override { return {rate, 1}; }
    void installTap(std::size_t, Tap tap) override { m_tap = std::move(tap); }
    void removeTap() override { m_tap = {}; }
    std::optional<std::string> start() override {
        m_isRunning = true;
        return {};
    }
    void stop() override { m_isRunning = false; }
    bool isRunning() const override { return m_isRunning; }

private:
    Tap& m_tap;
    bool m_isRunning = false;
};

class HandOperatedInput final : public AudioInput {
public:
    std::unique_ptr<CaptureEngine> makeEngine() override { return std::make_unique<HandOperatedEngine>(tap); }
    std::unique_ptr<CaptureEngine> makeEngineOf(const std::string&) override { return makeEngine(); }
    std::optional<InputDevice> defaultDevice() const override { return InputDevice{1, "Bench", true}; }
    std::vector<InputDevice> devices() const override { return {*defaultDevice()}; }
    bool isConnected() const override { return true; }
    void onDefaultDeviceChanged(std::function<void()>) override {}
    void onDevicesChanged(std::function<void()>) override {}

    CaptureEngine::Tap tap;
};

/// The wait for the tail of the last word is no work.
class ClockWithoutSleep final : public Clock {
public:
    double now() const override { return m_clock.now() + passed; }
    std::chrono::system_clock::time_point wallTime() const override { return m_clock.wallTime(); }
    void sleep(double) override {}

    double passed = 0;

private:
    SystemClock m_clock;
};

std::vector<float> speech(double seconds, double sampleRate) {
    std::vector<float> samples(static_cast<std::size_t>(seconds * sampleRate));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / sampleRate;
        const bool pauses = std::fmod(time, 1.0) > 0.7 || time < 0.5;
        samples[i] = pauses ? 0.0003F : 0.3F * static_cast<float>(std::sin(2000 * time) * std::sin(9 * time));
    }
    return samples;
}

struct Microphone {
    RunLoop queue;
    ClockWithoutSleep clock;
    Config config{fs::temp_directory_path() / files::makeUuid() / "config.json", clock};
    NotificationCenter notifications;
    HandOperatedInput input;
    AudioRecorder recorder{input, clock, queue, config, notifications};
};

void tapInATake(benchmark::State& state) {
    Microphone microphone;
    microphone.recorder.warmUp();
    microphone.recorder.startRecording();
    const std::vector<float> buffer = speech(1, rate);
    const auto samples = std::span(buffer).last(bufferSize);
    int buffers = 0;
    for (auto _ : state) {
        microphone.input.tap(samples);
        if (++buffers == 2500) { // below the length at which a chunk is written
            state.PauseTiming();
            microphone.recorder.startRecording();
            buffers = 0;
            state.ResumeTiming();
        }
    }
    // Time of a tap by the time that its buffer lasts.
    state.counters["share of a core"] = benchmark::Counter(
        bufferSize / rate, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void stopAfterFiveSeconds(benchmark::State& state) {
    Microphone microphone;
    microphone.recorder.warmUp();
    const std::vector<float> samples = speech(5, rate);
    for (auto _ : state) {
        state.PauseTiming();
        microphone.recorder.startRecording();
        for (std::size_t at = 0; at + bufferSize <= samples.size(); at += bufferSize)
            microphone.input.tap(std::span(samples).subspan(at, bufferSize));
        microphone.clock.passed += 5;
        state.ResumeTiming();
        const auto files = microphone.recorder.stopRecording();
        state.PauseTiming();
        if (files.size() != 1)
            state.SkipWithError("the take was dropped");
        for (const fs::path& file : files)
            fs::remove(file);
        state.ResumeTiming();
    }
}

/// A chunk file of so many seconds at a rate: 16000 is what the recorder hands on.
void prepare(benchmark::State& state) {
    const fs::path clip = files::temporaryFile("bench-", ".wav");
    const auto sampleRate = static_cast<int>(state.range(1));
    writeWav(clip, speech(static_cast<double>(state.range(0)), sampleRate), sampleRate, WavEncoding::float32);
    for (auto _ : state) {
        const fs::path prepared = prepareClip(clip);
        if (prepared == clip)
            state.SkipWithError("nothing was prepared");
        state.PauseTiming();
        removePreparedClip(prepared, clip);
        state.ResumeTiming();
    }
    fs::remove(clip);
}

BENCHMARK(tapInATake);
BENCHMARK(stopAfterFiveSeconds)->Unit(benchmark::kMillisecond);
BENCHMARK(prepare)
    ->ArgNames({"seconds", "rate"})
    ->Args({5, 16000})
    ->Args({60, 16000})
    ->Args({60, 48000})
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    // Settings and log go where nobody misses them.
    std::string home = (fs::temp_directory_path() / "fenlo-bench-XXXXXX").string();
    if (!::mkdtemp(home.data()))
        return 1;
    for (const char* name : {"HOME", "XDG_STATE_HOME", "TMPDIR"})
        ::setenv(name, home.c_str(), 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::error_code ignored;
    fs::remove_all(home, ignored);
    return 0;
}
