#include "app/meeting/RecordedMeetings.h"

#include "app/CommandServices.h"
#include "app/ExitStatus.h"
#include "app/StandardOutput.h"
#include "app/meeting/LogAside.h"
#include "app/meeting/MeetingOptions.h"
#include "app/meeting/MeetingRoad.h"
#include "app/meeting/SpeechStream.h"
#include "app/transcribe/Recordings.h"
#include "app/transcribe/ResultFiles.h"
#include "app/transcribe/SpooledInput.h"
#include "base/Files.h"
#include "base/Text.h"
#include "meeting/MeetingArchive.h"
#include "meeting/MeetingMarkdown.h"
#include "meeting/MeetingText.h"
#include "meeting/MeetingWords.h"
#include "shell/ElapsedText.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostPlaces = 5;

std::string placesOf(const std::vector<double>& ends) {
    std::vector<std::string> places;
    for (const double end : std::span(ends).first(std::min(ends.size(), mostPlaces)))
        places.push_back(elapsedText(end));
    const std::size_t more = ends.size() - places.size();
    return text::join(places, ", ") + (more > 0 ? " and " + std::to_string(more) + " more places" : "");
}

/// "12 segments by 3 speakers in 45:10"
std::string accountOf(const MeetingRecord& record) {
    return counted(record.segments.size(), "segment") + " by " + counted(speakersOf(record.segments), "speaker") +
           " in " + record.elapsedFormatted;
}

/// The recordings of one command, one after the other.
class RecordedMeetings {
public:
    explicit RecordedMeetings(const MeetingOptions& options)
        : m_options(options), m_log(options.verbose),
          m_command(options.quiet ? Progress::nowhere : m_log.descriptor()) {}

    int run() {
        const FoundRecordings found = findRecordings(m_options.inputs, m_options.recursive);
        for (const std::string& fault : found.faults)
            fail(fault);
        if (!m_options.output.empty() && found.recordings.size() > 1)
            throw UsageError("several recordings do not fit into one file; give --output-dir DIR");
        const std::vector<PlannedResult> planned = plan(found.recordings);
        if (std::ranges::none_of(planned, [this](const auto& result) { return isToDo(result); }))
            return m_status;
        MeetingRoad road(m_options, m_command);
        m_writesNotes = willWriteNotes(road);
        for (std::size_t i = 0; i < found.recordings.size(); ++i)
            if (isToDo(planned[i]))
                runOne(road, found.recordings[i], planned[i], i + 1, found.recordings.size());
        return m_status;
    }

private:
    bool toFolder() const { return !m_options.outputDirectory.empty(); }
    bool isToDo(const PlannedResult& result) const { return !toFolder() || !result.outputs.empty(); }

    void say(const std::string& line) {
        m_command.progress.aside([&] { ::dprintf(m_log.descriptor(), "%s\n", line.c_str()); });
    }
    void tell(const std::string& line) {
        if (!m_options.quiet)
            say(line);
    }
    /// The gravest status stays.
    void note(int status) {
        for (const int graver : {exitStatus::failed, exitStatus::damaged, exitStatus::noSpeech})
            if (status == graver || m_status == graver) {
                m_status = graver;
                return;
            }
    }
    void fail(const std::string& line) {
        say("fenlo: " + line);
        note(exitStatus::failed);
    }

    std::vector<PlannedResult> plan(const std::vector<InputRecording>& recordings) {
        if (!toFolder())
            return std::vector<PlannedResult>(recordings.size());
        makeResultFolder(m_options.outputDirectory);
        std::vector<fs::path> files;
        std::ranges::transform(recordings, std::back_inserter(files), &InputRecording::file);
        auto planned = planResults(files, {"md"}, m_options.outputDirectory, m_options.existing, resultExists);
        for (const PlannedResult& result : planned)
            if (!result.note.empty())
                tell(result.note);
        return planned;
    }

    /// Known before hours of work.
    bool willWriteNotes(MeetingRoad& road) const {
        const bool isAsked = m_options.notes == WantedNotes::always;
        if (m_options.notes == WantedNotes::never || (!isAsked && m_options.staysHere()))
            return false;
        const bool hasKey = road.hasNotesKey(m_command.stop());
        if (isAsked && !hasKey)
            throw std::runtime_error(
                "notes need a key for Gemini or Groq; keep one with: fenlo keys set gemini, or leave --notes out");
        return hasKey;
    }

    void runOne(MeetingRoad& road, const InputRecording& recording, const PlannedResult& planned, std::size_t number,
                std::size_t count) {
        std::string label = fs::path(recording.name()).filename().string();
        if (count > 1)
            label += " (" + std::to_string(number) + " of " + std::to_string(count) + ")";
        try {
            const std::stop_token stop = m_command.stop();
            const SpooledInput input(recording.file, stop);
            const HeardMeeting heard = hear(road, recording, input.path(), label);
            finish(road, recording, planned, heard, label);
        } catch (const OutputError&) {
            throw;
        } catch (const Interrupted&) {
            throw;
        } catch (const std::runtime_error& fault) { // concerns this recording only
            if (m_command.stop().stop_requested())
                throw Interrupted();
            fail(fault.what());
        }
        m_command.progress.finish();
    }

    HeardMeeting hear(MeetingRoad& road, const InputRecording& recording, const fs::path& file,
                      const std::string& label) {
        Listening listening{.clock = m_command.clock, .recognise = {}};
        listening.mode = m_options.mode;
        listening.sideBySide = road.sideBySide();
        listening.recognise = [&](const TranscribeRequest& request, std::stop_token stop) {
            return road.recognise(request, stop);
        };
        listening.onProgress = [&](double fraction, const std::string& words) {
            m_command.progress.fraction(label, fraction);
            m_command.progress.text(label, words);
        };
        listening.onWait = [&](std::string_view fault) {
            m_command.progress.text(label, std::string(fault) + "; waiting");
        };
        m_command.progress.fraction(label, 0);
        SpeechStream stream(file, m_command.stop());
        HeardMeeting heard = hearMeeting(stream, listening, m_command.stop());
        m_command.progress.finish();
        for (const AudioDamage& damage : stream.damages()) {
            say("fenlo: " + recording.name() + ": " + describe(damage));
            note(exitStatus::damaged);
        }
        return heard;
    }

    void finish(MeetingRoad& road, const InputRecording& recording, const PlannedResult& planned,
                const HeardMeeting& heard, const std::string& label) {
        MeetingRecord record = recordOf(recording, heard);
        if (!heard.isWhole) {
            const std::string kept = keepPart(record, recording, planned);
            if (m_command.stop().stop_requested())
                throw Interrupted("interrupted" + kept);
            return fail(recording.name() + ": " + heard.fault + kept);
        }
        if (!heard.missing.empty())
            fail(recording.name() + ": no words could be had of what ends at " + placesOf(heard.missing) + ": " +
                 heard.fault);
        if (record.segments.empty()) {
            if (heard.missing.empty()) {
                say("fenlo: " + recording.name() + ": no speech was heard");
                note(exitStatus::noSpeech);
            }
            return;
        }
        addNotes(road, record, recording, label);
        deliver(record, recording, planned);
    }

    MeetingRecord recordOf(const InputRecording& recording, const HeardMeeting& heard) const {
        MeetingRecord record;
        const auto length = std::chrono::duration_cast<std::chrono::system_clock::duration>(
            std::chrono::duration<double>(heard.duration));
        std::error_code unknown;
        const auto written = fs::last_write_time(recording.file, unknown);
        record.date = (unknown ? m_command.clock.wallTime() : std::chrono::file_clock::to_sys(written)) - length;
        record.subject = m_options.subject.value_or(recording.isStandardInput() ? "" : recording.file.stem().string());
        record.elapsedFormatted = elapsedText(heard.duration);
        record.segments = heard.segments;
        record.speakerNames = m_options.names;
        record.kind = m_options.kind;
        record.mode = m_options.mode;
        return record;
    }

    void addNotes(MeetingRoad& road, MeetingRecord& record, const InputRecording& recording, const std::string& label) {
        if (!m_writesNotes)
            return;
        m_command.progress.text(label, "Writing the notes");
        MeetingNotesWriter::Result made = road.notes().summarize(
            {.transcript = transcriptText(record), .userNotes = "", .kind = record.kind, .subject = record.subject},
            m_command.stop());
        m_command.progress.finish();
        if (made.notes)
            record.notes = std::move(made.notes);
        else if (m_options.notes == WantedNotes::always)
            fail(recording.name() + ": there are no notes: " + made.fault);
        else
            say("fenlo: " + recording.name() + ": there are no notes: " + made.fault);
    }

    void deliver(const MeetingRecord& record, const InputRecording& recording, const PlannedResult& planned) {
        if (m_options.archive) {
            const auto place = MeetingArchive().saveNew(record);
            if (!place)
                throw std::runtime_error("cannot write into " + MeetingArchive::defaultFolder().string() +
                                         "; free some space or check the permissions");
            tell(place->string());
        }
        const std::string document = buildMarkdown(record, NotesSections::all);
        if (const fs::path file = fileOf(planned); !file.empty()) {
            if (!files::writeAtomically(file, document))
                throw std::runtime_error("cannot write " + file.string() +
                                         "; free some space or check the permissions");
            tell(file.string());
        } else if (!m_options.archive) {
            print(document);
        }
        tell(recording.name() + ": " + accountOf(record));
    }

    /// Empty for standard output.
    fs::path fileOf(PlannedResult planned) const {
        if (!toFolder())
            return m_options.output;
        if (m_options.existing == ExistingResults::keep)
            planned.stem = stillFreeStem(planned, resultExists);
        return planned.file("md");
    }

    /// What was heard before the end of a run that did not reach the recording's; in words, where it is.
    std::string keepPart(const MeetingRecord& record, const InputRecording& recording, const PlannedResult& planned) {
        const fs::path file = fileOf(planned);
        if (record.segments.empty() || file.empty())
            return "";
        const fs::path part = file.string() + ".part";
        const std::string upTo = " up to " + record.elapsedFormatted + " of " + recording.name();
        return files::writeAtomically(part, buildMarkdown(record))
                   ? "; what was heard" + upTo + " is in " + part.string()
                   : "; what was heard cannot be written";
    }

    const MeetingOptions& m_options;
    LogAside m_log;
    CommandServices m_command;
    bool m_writesNotes = false;
    int m_status = exitStatus::ok;
};

} // namespace

int runMeeting(const MeetingOptions& options) {
    if (options.inputs.empty())
        throw UsageError("which recording? Give one or more files, or - for standard input; --help shows examples");
    if (std::ranges::count(options.inputs, "-") > 1)
        throw UsageError("standard input (-) can be read only once");
    return RecordedMeetings(options).run();
}

} // namespace fenlo
