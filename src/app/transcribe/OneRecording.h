#pragma once

#include "WhisperEngine/WhisperEngine.h"
#include "app/transcribe/LiveText.h"
#include "app/transcribe/PartialTranscript.h"
#include "app/transcribe/Recordings.h"
#include "app/transcribe/ResultPlan.h"

#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class OrderedText;
class Progress;
struct TranscribeOptions;

/// Where a recording tells how far it is.
struct RecordingProgress {
    std::function<void(double fraction)> fraction;
    std::function<void(const std::string& text)> text;
    std::function<void(double seconds)> loaded; // its sound is in memory
};

/// The work on one recording, from the file to the delivered result. Serves once.
///
/// Threads: run() blocks its thread; the engine's threads call back.
class OneRecording {
public:
    /// What all recordings of a command share.
    struct Surroundings {
        const TranscribeOptions& options;
        const whisper::WhisperEngine& engine;
        const whisper::DecodingOptions decoding;
        Progress& progress;
        Clock& clock;
        OrderedText& output;                               // of the recordings, to standard output
        std::function<void(const std::string& line)> tell; // on standard error
        std::stop_source& stop;
    };

    /// `planned` names the files of the result; it is unused when the result goes to standard output. `number` is the
    /// recording's place among the others, from 0.
    OneRecording(const Surroundings& surroundings, const InputRecording& recording, const PlannedResult& planned,
                 std::size_t number, RecordingProgress progress);

    /// Returns the recording's exit status: a fault that concerns this recording only is told and is `failed`.
    /// Throws OutputError, and Interrupted once the results so far are in the partial file.
    int run();

private:
    using Results = std::vector<whisper::TranscriptionResult>;

    bool toFiles() const;
    void show(const std::string& lines);
    void tell(const std::string& line) const;
    void fail(const std::string& line);
    /// Reads what an interrupted run has left. Throws std::runtime_error when it belongs to something else.
    whisper::StoppedParts preparePartial(const std::filesystem::path& audio);
    whisper::TranscriptionCallbacks callbacks();
    Results transcribe();
    void deliver(const Results& results);
    void judge(const Results& results);
    [[noreturn]] void endByInterrupt();
    /// A line for the user; empty when there is nothing to continue from.
    std::string keepPartial();

    const Surroundings& m_shared;
    const InputRecording& m_recording;
    const PlannedResult& m_planned;
    const std::size_t m_number;
    const RecordingProgress m_progress;
    std::optional<LiveText> m_liveText;      // when the text goes to standard output as it is found
    std::unique_ptr<PartialKeeper> m_keeper; // when the results go to files
    std::exception_ptr m_outputFault;        // standard output failed on a thread of the engine
    int m_status = 0;
};

} // namespace fenlo
