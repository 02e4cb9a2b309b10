#include "app/transcribe/TranscribeRun.h"

#include "WhisperEngine/Tokenizer/Languages.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "app/CommandServices.h"
#include "app/ExitStatus.h"
#include "app/StandardOutput.h"
#include "app/transcribe/EngineSetup.h"
#include "app/transcribe/OneRecording.h"
#include "app/transcribe/Recordings.h"
#include "app/transcribe/ResultFiles.h"
#include "app/transcribe/TranscribeOptions.h"

#include <algorithm>
#include <cstdio>
#include <numeric>

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
    SharedProgress(Progress& progress, const std::vector<InputRecording>& recordings)
        : m_progress(progress), m_recordings(recordings), m_shares(sharesOf(recordings)) {}

    RecordingProgress of(std::size_t index) const {
        std::string label = fs::path(m_recordings[index].name()).filename().string();
        if (m_recordings.size() > 1)
            label += " (" + std::to_string(index + 1) + " of " + std::to_string(m_recordings.size()) + ")";
        const double before =
            std::accumulate(m_shares.begin(), m_shares.begin() + static_cast<std::ptrdiff_t>(index), 0.0);
        return {.fraction = [this, label, before, share = m_shares[index]](
                                double fraction) { m_progress.fraction(label, before + share * fraction); },
                .text = [this, label](const std::string& text) { m_progress.text(label, text); }};
    }

private:
    Progress& m_progress;
    const std::vector<InputRecording>& m_recordings;
    const std::vector<double> m_shares;
};

std::vector<PlannedResult> plan(const std::vector<InputRecording>& recordings, const TranscribeOptions& options) {
    std::vector<fs::path> files;
    std::ranges::transform(recordings, std::back_inserter(files), &InputRecording::file);
    return planResults(files, options.outputs, options.outputDirectory, options.existing, resultExists);
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
    const auto isToDo = [&](const PlannedResult& result) { return !toFiles || !result.outputs.empty(); };
    if (std::ranges::none_of(planned, isToDo))
        return worstOf(statuses);

    try {
        const auto engine = loadEngine(options, command, tell);
        const SharedProgress shared(command.progress, found.recordings);
        OneRecording::Surroundings surroundings{.options = options,
                                                .engine = *engine,
                                                .decoding = decodingOptions(options, *engine),
                                                .progress = command.progress,
                                                .clock = command.clock,
                                                .tell = tell,
                                                .stop = command.interruption};
        for (std::size_t i = 0; i < found.recordings.size(); ++i)
            if (isToDo(planned[i]))
                statuses.push_back(OneRecording(surroundings, found.recordings[i], planned[i], shared.of(i)).run());
    } catch (const WhisperError& fault) {
        if (fault.kind == WhisperError::Kind::cancelled)
            throw Interrupted();
        throw;
    }
    return worstOf(statuses);
}

} // namespace fenlo
