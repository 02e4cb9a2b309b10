#include "app/transcribe/TranscribeRun.h"

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/SideBySide.h"
#include "WhisperEngine/Tokenizer/Languages.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "app/CommandServices.h"
#include "app/ExitStatus.h"
#include "app/StandardOutput.h"
#include "app/transcribe/EngineSetup.h"
#include "app/transcribe/LoadedSound.h"
#include "app/transcribe/OneRecording.h"
#include "app/transcribe/OrderedText.h"
#include "app/transcribe/Recordings.h"
#include "app/transcribe/ResultFiles.h"
#include "app/transcribe/TranscribeOptions.h"
#include "base/Guarded.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <numeric>
#include <set>
#include <unistd.h>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

using namespace whisper;

void refuseContradictions(const TranscribeOptions& options) {
    if (options.inputs.empty())
        throw UsageError("which recording? Give one or more files, or - for standard input; --help shows examples");
    if (options.language != "auto" && !languageCodeOf(options.language))
        throw UsageError("\"" + options.language + "\" is no language that Whisper knows; --list-languages shows all");
    if (std::ranges::count(options.inputs, "-") > 1)
        throw UsageError("standard input (-) can be read only once");
    if (!options.outputDirectory.empty())
        return;
    if (options.outputs.size() > 1)
        throw UsageError("several forms do not fit into one stream; add --output-dir DIR");
    const bool several = options.inputs.size() > 1 || options.recursive;
    if (several && options.outputs.front() != "txt")
        throw UsageError("several recordings in one stream are no " + options.outputs.front() +
                         "; add --output-dir DIR");
}

int listLanguages() {
    std::string list;
    for (const Language& language : languages())
        list += std::string(language.code) + "\t" + std::string(language.name) + "\n";
    print(list);
    return exitStatus::ok;
}

/// The status of the whole command: the gravest of its recordings.
int worstOf(const std::vector<int>& statuses) {
    for (const int status : {exitStatus::failed, exitStatus::damaged, exitStatus::noSpeech})
        if (std::ranges::count(statuses, status) > 0)
            return status;
    return exitStatus::ok;
}

/// The share of each recording in the whole work, by its size in bytes; an unknown size counts as the mean.
std::vector<double> sharesOf(const std::vector<InputRecording>& recordings) {
    double sum = 0, known = 0;
    for (const InputRecording& recording : recordings) {
        sum += static_cast<double>(recording.bytes);
        known += recording.bytes > 0 ? 1 : 0;
    }
    const double mean = known > 0 ? sum / known : 1;
    std::vector<double> shares;
    for (const InputRecording& recording : recordings)
        shares.push_back(recording.bytes > 0 ? static_cast<double>(recording.bytes) : mean);
    const double whole = std::accumulate(shares.begin(), shares.end(), 0.0);
    for (double& share : shares)
        share /= whole;
    return shares;
}

/// One line of the progress for all recordings together.
class SharedProgress {
public:
    /// `left` are the indexes of those that are still to be done.
    SharedProgress(Progress& progress, const std::vector<InputRecording>& recordings,
                   const std::vector<std::size_t>& left, bool severalAtOnce)
        : m_progress(progress), m_recordings(recordings), m_shares(sharesOf(recordings)),
          m_severalAtOnce(severalAtOnce), m_done(recordings.size()) {
        for (std::size_t i = 0; i < recordings.size(); ++i)
            m_done[i] = std::ranges::count(left, i) == 0 ? 1 : 0;
    }

    RecordingProgress of(std::size_t index) {
        const std::string name = fs::path(m_recordings[index].name()).filename().string();
        const std::string count = std::to_string(m_recordings.size());
        const std::string label = m_severalAtOnce ? count + " recordings"
                                  : m_recordings.size() > 1
                                      ? name + " (" + std::to_string(index + 1) + " of " + count + ")"
                                      : name;
        return {.fraction =
                    [this, label, index](double fraction) {
                        m_done[index] = fraction;
                        double all = 0;
                        for (std::size_t i = 0; i < m_done.size(); ++i)
                            all += m_shares[i] * m_done[i];
                        m_progress.fraction(label, all);
                    },
                .text = [this, label](const std::string& text) { m_progress.text(label, text); },
                .loaded = {}};
    }
    void finish(std::size_t index) { m_done[index] = 1; }

private:
    Progress& m_progress;
    const std::vector<InputRecording>& m_recordings;
    const std::vector<double> m_shares;
    const bool m_severalAtOnce;
    std::vector<std::atomic<double>> m_done; // of each recording
};

std::vector<PlannedResult> plan(const std::vector<InputRecording>& recordings, const TranscribeOptions& options) {
    std::vector<fs::path> files;
    std::ranges::transform(recordings, std::back_inserter(files), &InputRecording::file);
    return planResults(files, options.outputs, options.outputDirectory, options.existing, resultExists);
}

/// Seconds of sound that recordings may hold in memory when a further one is begun: an eighth of the machine's memory,
/// and an hour at least.
double mostLoadedSound() {
    const double memory = static_cast<double>(::sysconf(_SC_PHYS_PAGES)) * static_cast<double>(::sysconf(_SC_PAGESIZE));
    return std::max(3600.0, memory / 8 / sizeof(float) / sampleRate);
}

/// The recordings `left`, as many side by side as the engine has a use for. Their statuses.
std::vector<int> transcribeAll(const OneRecording::Surroundings& surroundings,
                               const std::vector<InputRecording>& recordings, const std::vector<PlannedResult>& planned,
                               const std::vector<std::size_t>& left) {
    const auto atOnce = std::min(left.size(), static_cast<std::size_t>(surroundings.engine.windowsAtOnce()));
    SharedProgress shared(surroundings.progress, recordings, left, atOnce > 1);
    LoadedSound sound(mostLoadedSound());
    std::vector<int> statuses(left.size());
    Guarded<std::set<std::string>> interrupted; // what was kept of each
    runSideBySide(left.size(), atOnce, [&](std::size_t i) {
        const auto note = [&](const Interrupted& interruption) {
            interrupted.with([&](auto& lines) { lines.insert(interruption.what()); });
        };
        if (surroundings.stop.stop_requested())
            return note(Interrupted());
        const std::size_t number = left[i];
        LoadedSound::Share share(sound, surroundings.stop.get_token());
        RecordingProgress progress = shared.of(number);
        progress.loaded = [&](double seconds) { share.loaded(seconds); };
        try {
            statuses[i] = OneRecording(surroundings, recordings[number], planned[number], number, progress).run();
        } catch (const Interrupted& interruption) {
            note(interruption);
        }
        shared.finish(number);
        surroundings.output.finish(number);
    });
    if (auto lines = interrupted.with([](const auto& all) { return all; }); !lines.empty()) {
        const std::string last = *lines.rbegin(); // the longest of those that begin alike
        lines.erase(last);
        lines.erase(Interrupted().what()); // nothing was kept
        for (const std::string& line : lines)
            surroundings.tell("fenlo: " + line);
        throw Interrupted(last);
    }
    return statuses;
}

} // namespace

int runTranscribe(const TranscribeOptions& options) {
    if (options.listLanguages)
        return listLanguages();
    refuseContradictions(options);
    const bool toFiles = !options.outputDirectory.empty();
    if (toFiles)
        makeResultFolder(options.outputDirectory);

    CommandServices command(options.talk == Talk::usual ? STDERR_FILENO : Progress::nowhere);
    const auto tell = [&](const std::string& line) {
        command.progress.aside([&] { std::fprintf(stderr, "%s\n", line.c_str()); });
    };

    const FoundRecordings found = findRecordings(options.inputs, options.recursive);
    std::vector<int> statuses(found.faults.size(), exitStatus::failed);
    for (const std::string& fault : found.faults)
        tell("fenlo: " + fault);
    const std::vector<PlannedResult> planned =
        toFiles ? plan(found.recordings, options) : std::vector<PlannedResult>(found.recordings.size());
    for (const PlannedResult& result : planned)
        if (!result.note.empty() && options.talk != Talk::quiet)
            tell(result.note);
    std::vector<std::size_t> left;
    for (std::size_t i = 0; i < planned.size(); ++i)
        if (!toFiles || !planned[i].outputs.empty())
            left.push_back(i);
    if (left.empty())
        return worstOf(statuses);

    try {
        const auto engine = loadEngine(options, command, tell);
        OrderedText output([&](const std::string& lines) { command.progress.aside([&] { print(lines); }); });
        const OneRecording::Surroundings surroundings{.options = options,
                                                      .engine = *engine,
                                                      .decoding = decodingOptions(options, *engine),
                                                      .progress = command.progress,
                                                      .clock = command.clock,
                                                      .output = output,
                                                      .tell = tell,
                                                      .stop = command.interruption};
        std::ranges::copy(transcribeAll(surroundings, found.recordings, planned, left), std::back_inserter(statuses));
    } catch (const WhisperError& fault) {
        if (fault.kind == WhisperError::Kind::cancelled)
            throw Interrupted();
        throw;
    }
    return worstOf(statuses);
}

} // namespace fenlo
