#include "app/transcribe/OneRecording.h"

#include "WhisperEngine/WhisperError.h"
#include "app/ExitStatus.h"
#include "app/Progress.h"
#include "app/StandardOutput.h"
#include "app/transcribe/EngineSetup.h"
#include "app/transcribe/OrderedText.h"
#include "app/transcribe/ResultFiles.h"
#include "app/transcribe/SpooledInput.h"
#include "app/transcribe/TranscribeOptions.h"
#include "base/Files.h"
#include "base/Text.h"

#include <algorithm>
#include <ranges>
#include <stdexcept>
#include <utility>

namespace fenlo {

namespace fs = std::filesystem;

using namespace whisper;

namespace {

constexpr std::size_t mostPlacesTold = 5;

/// Calls `use` with each segment of a recording.
template <typename Use>
void eachSegment(const std::vector<TranscriptionResult>& results, Use use) {
    for (const TranscriptionResult& result : results)
        std::ranges::for_each(result.segments, use);
}

bool hasText(const std::vector<TranscriptionResult>& results) {
    return !writeTranscript(results, TranscriptFormat::txt).empty();
}

/// "12.3 s, 45.0 s and 3 more places"; empty where every word was found.
std::string placesWithoutText(const std::vector<TranscriptionResult>& results) {
    std::vector<std::string> places;
    eachSegment(results, [&](const TranscriptionSegment& segment) {
        if (segment.speechWithoutText)
            places.push_back(text::fixed(static_cast<double>(segment.start), 1) + " s");
    });
    const std::size_t more = places.size() - std::min(places.size(), mostPlacesTold);
    places.resize(places.size() - more);
    return text::join(places, ", ") + (more > 0 ? " and " + std::to_string(more) + " more places" : "");
}

} // namespace

OneRecording::OneRecording(const Surroundings& surroundings, const InputRecording& recording,
                           const PlannedResult& planned, std::size_t number, RecordingProgress progress)
    : m_shared(surroundings), m_recording(recording), m_planned(planned), m_number(number),
      m_progress(std::move(progress)), m_status(exitStatus::ok) {
    if (!toFiles() && m_shared.options.outputs.front() == "txt")
        m_liveText.emplace([this](const std::string& lines) { show(lines); });
}

bool OneRecording::toFiles() const {
    return !m_shared.options.outputDirectory.empty();
}

void OneRecording::tell(const std::string& line) const {
    if (m_shared.options.talk != Talk::quiet)
        m_shared.tell(line);
}

void OneRecording::fail(const std::string& line) {
    m_shared.tell("fenlo: " + line);
    m_status = exitStatus::failed;
}

void OneRecording::show(const std::string& lines) {
    try {
        m_shared.output.add(m_number, lines);
    } catch (const OutputError&) { // the reader has gone: what is worked on side by side ends too
        m_outputFault = std::current_exception();
        m_shared.stop.request_stop();
        throw;
    }
}

int OneRecording::run() {
    try {
        const Results results = transcribe();
        deliver(results);
        judge(results);
    } catch (const OutputError&) {
        m_shared.progress.finish();
        throw;
    } catch (const WhisperError& fault) {
        m_shared.progress.finish();
        if (m_outputFault)
            std::rethrow_exception(m_outputFault);
        if (fault.kind == WhisperError::Kind::cancelled)
            endByInterrupt();
        fail(fault.what());
        if (const std::string kept = keepPartial(); !kept.empty())
            tell(kept);
    } catch (const std::runtime_error& fault) { // concerns this recording only
        m_shared.progress.finish();
        if (m_shared.stop.stop_requested())
            endByInterrupt();
        fail(fault.what());
        if (const std::string kept = keepPartial(); !kept.empty())
            tell(kept);
    }
    return m_status;
}

OneRecording::Results OneRecording::transcribe() {
    const std::stop_token stop = m_shared.stop.get_token();
    const SpooledInput input(m_recording.file, stop);
    const StoppedParts stopped = toFiles() ? preparePartial(input.path()) : StoppedParts();
    try {
        return m_shared.engine.transcribe(input.path(), m_shared.decoding, callbacks(), stop, stopped);
    } catch (const WhisperError& fault) { // may name the temporary copy of a pipe, which tells the user nothing
        throw WhisperError(fault.kind, text::replaceAll(fault.what(), input.path().string(), m_recording.name()));
    }
}

StoppedParts OneRecording::preparePartial(const fs::path& audio) {
    PartialTranscript partial{.identity = {.recording = hashOfFile(audio).value_or(""),
                                           .options = describe(m_shared.decoding, m_shared.options, m_shared.engine)},
                              .parts = {}};
    const bool resumes = m_shared.options.existing == ExistingResults::resume && m_planned.hasPartial;
    if (resumes) {
        const auto left = decodePartial(files::read(m_planned.partial()).value_or(""));
        const char* fault = !left                                                    ? "cannot be read"
                            : left->identity.recording != partial.identity.recording ? "is of another recording"
                            : left->identity != partial.identity ? "is of another model or of other options"
                                                                 : nullptr;
        if (fault)
            throw std::runtime_error(m_recording.name() + ": " + m_planned.partial().string() + " " + fault +
                                     "; remove it to begin anew");
        partial.parts = left->parts;
        tell(m_recording.name() + ": goes on from " + m_planned.partial().string());
    } else if (m_planned.hasPartial) {
        tell(m_recording.name() + ": begins anew; --resume would have gone on from " + m_planned.partial().string());
    }
    StoppedParts parts = partial.parts;
    m_keeper = std::make_unique<PartialKeeper>(m_planned.partial(), std::move(partial), m_shared.clock);
    return parts;
}

TranscriptionCallbacks OneRecording::callbacks() {
    TranscriptionCallbacks callbacks;
    callbacks.fraction = m_progress.fraction;
    callbacks.loaded = m_progress.loaded;
    callbacks.progress = [this](const TranscriptionProgress& step) {
        m_progress.text(step.text);
        return true;
    };
    callbacks.damage = [this](const AudioDamage& damage) {
        m_shared.tell("fenlo: " + m_recording.name() + ": " + describe(damage));
        m_status = exitStatus::damaged;
    };
    callbacks.checkpoint = [this](std::size_t part, const TranscriptionCheckpoint& checkpoint,
                                  std::span<const TranscriptionSegment> segments) {
        if (m_keeper)
            m_keeper->add(part, checkpoint, segments);
        if (m_liveText)
            m_liveText->add(part, segments);
    };
    callbacks.finished = [this](std::size_t part) {
        if (m_liveText)
            m_liveText->finish(part);
    };
    return callbacks;
}

void OneRecording::deliver(const Results& results) {
    m_shared.progress.finish();
    const auto& clips = m_shared.decoding.clipTimestamps;
    const double lasts = results.empty() ? 0 : results.front().timings.inputAudioSeconds;
    if (!clips.empty() && results.size() == 1 && !m_shared.options.vad && static_cast<double>(clips.front()) >= lasts)
        throw std::runtime_error(m_recording.name() + " lasts " + text::fixed(lasts, 1) +
                                 " s only; take a smaller --offset");
    const auto document = [&](const std::string& output) {
        return writeTranscript(results, transcriptFormat(output).value(), m_shared.options.layout);
    };
    if (!toFiles()) {
        if (!m_liveText)
            print(document(m_shared.options.outputs.front()));
        return;
    }
    PlannedResult target = m_planned;
    if (m_shared.options.existing == ExistingResults::keep)
        target.stem = stillFreeStem(m_planned, resultExists);
    for (const std::string& output : target.outputs) {
        const fs::path file = target.file(output);
        if (!files::writeAtomically(file, document(output)))
            throw std::runtime_error("cannot write " + file.string() + "; free some space or check the permissions");
        tell(file.string());
    }
    files::removeQuietly(m_planned.partial());
}

void OneRecording::judge(const Results& results) {
    const std::string places = placesWithoutText(results);
    if (!places.empty())
        m_shared.tell("fenlo: " + m_recording.name() + ": somebody speaks, but no words were found, at " + places);
    if (hasText(results))
        return;
    if (places.empty())
        m_shared.tell("fenlo: " + m_recording.name() + ": no speech was heard");
    if (m_status == exitStatus::ok)
        m_status = exitStatus::noSpeech;
}

void OneRecording::endByInterrupt() {
    const std::string kept = toFiles() ? keepPartial() : "with --output-dir DIR a later run can go on with --resume";
    throw Interrupted("interrupted" + (kept.empty() ? "" : "; " + kept));
}

std::string OneRecording::keepPartial() {
    switch (m_keeper ? m_keeper->save() : PartialKeeper::Saved::nothing) {
    case PartialKeeper::Saved::written:
        return "what was found is in " + m_planned.partial().string() + "; the same command with --resume goes on";
    case PartialKeeper::Saved::failed:
        return "what was found cannot be written to " + m_planned.partial().string();
    case PartialKeeper::Saved::nothing:
        break;
    }
    return "";
}

} // namespace fenlo
