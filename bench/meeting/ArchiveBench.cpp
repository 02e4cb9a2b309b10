// What the list of past meetings, a search in it and the opening of one cost: all files are read each time. The
// argument is the length of each of the 500 meetings in minutes. And what a chunk of ten seconds costs on its way to
// the disk.

#include "base/Background.h"
#include "base/Files.h"
#include "meeting/MeetingArchive.h"
#include "meeting/MeetingSearch.h"
#include "meeting/RunningMeeting.h"

#include <benchmark/benchmark.h>
#include <fstream>

using namespace fenlo;
namespace fs = std::filesystem;

namespace {

constexpr int meetings = 500;
constexpr int segmentsPerMinute = 8;

MeetingRecord meetingOf(int number, int minutes) {
    MeetingRecord record;
    record.date = std::chrono::system_clock::time_point(std::chrono::hours(24 * 20000 + number));
    record.subject = "Meeting " + std::to_string(number);
    record.elapsedFormatted = std::to_string(minutes) + ":00";
    record.userNotes = "ask about the größe\nsend the plan";
    record.speakerNames = {{0, "Ann"}, {1, "Bob"}};
    record.notes.emplace();
    record.notes->summary = "They met and spoke. They will meet again.";
    record.notes->actionItems = {"Ann writes", "Bob tests"};
    for (int i = 0; i < minutes * segmentsPerMinute; ++i) {
        std::string text;
        for (int word = 0; word < 19; ++word)
            text += (word ? " " : "") + std::string(word % 7 ? "spoken" : "groß") + std::to_string((i + word) % 97);
        record.segments.push_back({"", i, i * 60.0 / segmentsPerMinute, text, speakerAt(i % 3)});
    }
    return record;
}

class Folder {
public:
    Folder() { fs::create_directories(path); }
    ~Folder() { fs::remove_all(path); }
    const fs::path path = files::temporaryFile("bench-", "");
};

/// 500 meetings of so many minutes each.
struct Archived {
    explicit Archived(benchmark::State& state) {
        for (int i = 0; i < meetings; ++i) {
            const MeetingRecord record = meetingOf(i, static_cast<int>(state.range(0)));
            const std::string content = buildMarkdown(record) + metadataBlock(record);
            std::ofstream(archive.fileOf(meetingFileName(record.date))) << content;
            state.counters["KB"] = static_cast<double>(content.size()) / 1024;
        }
    }
    const Folder folder;
    const MeetingArchive archive{folder.path};
};

/// With the segments of all of them.
void loadOf500(benchmark::State& state) {
    const Archived all(state);
    for (auto step : state)
        if (all.archive.load().size() != meetings)
            state.SkipWithError("not all were read");
}
BENCHMARK(loadOf500)->Arg(15)->Arg(60)->Unit(benchmark::kMillisecond);

/// As the program lists them.
void headsOf500(benchmark::State& state) {
    const Archived all(state);
    for (auto step : state)
        if (all.archive.loadHeads().size() != meetings)
            state.SkipWithError("not all were read");
}
BENCHMARK(headsOf500)->Arg(15)->Arg(30)->Arg(60)->Unit(benchmark::kMillisecond);

/// What a worker does for each letter of a search, for words that no meeting or every meeting has.
void searchOf500(benchmark::State& state, const char* words) {
    const Archived all(state);
    const auto list = std::make_shared<const std::vector<PastMeeting>>(all.archive.loadHeads());
    for (auto step : state)
        benchmark::DoNotOptimize(findMeetings(list, words, {}).places.size());
}
BENCHMARK_CAPTURE(searchOf500, none, "unheard of")->Arg(60)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(searchOf500, all, "spoken1")->Arg(60)->Unit(benchmark::kMillisecond);

/// When one of them is opened, on the main thread.
void segmentsOfAnHour(benchmark::State& state) {
    const MeetingRecord record = meetingOf(0, 60);
    const PastMeeting head = parseHead("meeting_2026-11-15_09-30-05.md", buildMarkdown(record) + metadataBlock(record));
    for (auto step : state)
        benchmark::DoNotOptimize(withSegments(head));
}
BENCHMARK(segmentsOfAnHour)->Unit(benchmark::kMillisecond);

void notesIntoAnHour(benchmark::State& state) {
    const Folder folder;
    const MeetingArchive archive(folder.path);
    const MeetingRecord record = meetingOf(0, 60);
    const std::string id = archive.save(record).value().filename();
    for (auto step : state)
        archive.saveNotes(id, *record.notes);
}
BENCHMARK(notesIntoAnHour)->Unit(benchmark::kMillisecond);

void chunkKeptAndFinished(benchmark::State& state) {
    const Folder folder;
    ThreadBackground background;
    RunningMeeting meeting(folder.path, meetingOf(0, 0), background);
    const std::vector<float> samples(160000, 0.25F);
    int number = 0;
    for (auto step : state) {
        meeting.keepChunk({number, number * 10.0, 0, 0, {}}, samples);
        meeting.finishChunk(number++);
    }
}
BENCHMARK(chunkKeptAndFinished)->Unit(benchmark::kMillisecond);

/// What the main thread pays when the user types a letter into notes of a page.
void stateNoted(benchmark::State& state) {
    const Folder folder;
    ThreadBackground background;
    MeetingRecord record = meetingOf(0, 0);
    RunningMeeting meeting(folder.path, record, background);
    record.userNotes.assign(3000, 'x');
    for (auto step : state) {
        record.userNotes += 'x';
        meeting.noteState(record);
    }
}
BENCHMARK(stateNoted)->Unit(benchmark::kMicrosecond)->Iterations(1000);

} // namespace

BENCHMARK_MAIN();
