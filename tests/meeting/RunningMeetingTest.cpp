#include "meeting/RunningMeeting.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "base/Text.h"
#include "media/AudioFile.h"
#include "meeting/MeetingArchive.h"
#include "support/EnvironmentVariable.h"
#include "support/ScarceDisk.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <fstream>
#include <gtest/gtest.h>
#include <thread>

using namespace fenlo;
namespace fs = std::filesystem;

namespace {

using Meetings = std::vector<std::unique_ptr<RunningMeeting>>;

std::vector<float> sound(std::size_t length) {
    std::vector<float> samples(length);
    for (std::size_t i = 0; i < length; ++i)
        samples[i] = static_cast<float>(i % 100) / 200;
    return samples;
}

KeptChunk cut(int number, double timestamp, int speaker = 0) {
    return {number, timestamp, speaker, 0, {}};
}

TranscriptSegment words(int number, double timestamp, const std::string& text, int speaker = 0) {
    return {files::makeUuid(), number, timestamp, text, speakerAt(speaker)};
}

/// "0 2": the numbers of the chunks that wait.
std::string waitingIn(const RunningMeeting& meeting) {
    std::string numbers;
    for (const KeptChunk& chunk : meeting.waiting())
        numbers += (numbers.empty() ? "" : " ") + std::to_string(chunk.number);
    return numbers;
}

std::string textsIn(const RunningMeeting& meeting) {
    std::string texts;
    for (const TranscriptSegment& segment : meeting.record().segments)
        texts += (texts.empty() ? "" : "|") + segment.text;
    return texts;
}

class Running : public ::testing::Test {
protected:
    Running() {
        record.date = dates::parseIso("2026-11-15T09:30:05Z").value();
        record.subject = "Weekly";
        record.mode = MeetingMode::meeting;
        record.kind = MeetingTemplate::interview;
    }

    std::unique_ptr<RunningMeeting> begin() {
        auto meeting = std::make_unique<RunningMeeting>(folder.path, record, background);
        background.runAll();
        return meeting;
    }
    /// What a start of the program would find if this one were killed now: the files, without their locks.
    Meetings afterKill() {
        const fs::path copy = copies / files::makeUuid();
        fs::copy(folder.path, copy, fs::copy_options::recursive);
        return RunningMeeting::findUnfinished(copy, background);
    }

    const test::EnvironmentVariable zone{"TZ", "UTC"};
    const test::TemporaryFolder folder, copies;
    test::ManualBackground background;
    MeetingRecord record;
};

} // namespace

TEST_F(Running, AKilledProgramLosesOnlyWhatWasNotCut) {
    const auto meeting = begin();
    EXPECT_TRUE(afterKill().empty()) << "nothing was said yet";
    const auto found = [&](const char* waiting, const char* texts, const char* elapsed) {
        SCOPED_TRACE(elapsed);
        const Meetings left = afterKill();
        ASSERT_EQ(left.size(), 1u);
        EXPECT_EQ(waitingIn(*left[0]), waiting);
        EXPECT_EQ(textsIn(*left[0]), texts);
        EXPECT_EQ(left[0]->record().elapsedFormatted, elapsed);
        EXPECT_EQ(left[0]->record().date, record.date);
        EXPECT_EQ(left[0]->record().subject, "Weekly");
        EXPECT_EQ(left[0]->record().kind, MeetingTemplate::interview);
    };

    const auto kept = meeting->keepChunk(cut(0, 3.5, 1), sound(32000)).chunks;
    ASSERT_EQ(kept.size(), 1u);
    const fs::path file = kept[0].file;
    EXPECT_EQ(file.parent_path(), meeting->folder());
    found("0", "", "0:03");
    meeting->keepChunk(cut(1, 71.25), sound(16000));
    found("0 1", "", "1:11");
    meeting->failChunk(0);
    meeting->failChunk(0);
    EXPECT_TRUE(meeting->finishChunk(words(1, 71.25, "Second: \"quoted\"\nwords\xFF.")));
    found("0", "Second: \"quoted\"\nwords\uFFFD.", "1:11");

    const KeptChunk chunk = afterKill().at(0)->waiting().at(0);
    EXPECT_EQ(chunk.timestamp, 3.5);
    EXPECT_EQ(chunk.speaker, 1);
    EXPECT_EQ(chunk.failures, 2);
    EXPECT_EQ(readRecording(chunk.file, 16000).samples.size(), 32000u);

    EXPECT_TRUE(meeting->finishChunk(0));
    found("", "Second: \"quoted\"\nwords\uFFFD.", "1:11");
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(meeting->trouble(), "");
}

TEST_F(Running, WhatTheUserChangesIsKeptAndOnlyTheLatestIsWritten) {
    const auto meeting = begin();
    record.subject = "Renamed --> \n";
    record.speakerNames = {{0, "Ann|="}, {12, "Bob"}};
    record.bookmarks = {7, 3};
    record.userNotes = "first";
    meeting->noteState(record);
    record.userNotes = "first\nsecond";
    meeting->noteState(record);
    meeting->noteState(record);
    EXPECT_EQ(background.pending(), 1u);
    EXPECT_TRUE(afterKill().empty());
    background.runAll();
    const Meetings left = afterKill();
    ASSERT_EQ(left.size(), 1u) << "notes alone are worth keeping";
    EXPECT_EQ(left[0]->record().subject, record.subject);
    EXPECT_EQ(left[0]->record().speakerNames, record.speakerNames);
    EXPECT_EQ(left[0]->record().bookmarks, record.bookmarks);
    EXPECT_EQ(left[0]->record().userNotes, record.userNotes);
    meeting->noteState(record);
    EXPECT_EQ(background.pending(), 0u) << "nothing has changed";
}

TEST_F(Running, ATornJournalCostsItsTornLineOnly) {
    const auto meeting = begin();
    meeting->keepChunk(cut(0, 1), sound(100));
    meeting->finishChunk(words(0, 1, "One."));
    meeting->keepChunk(cut(1, 2), sound(100));
    meeting->finishChunk(words(1, 2, "Two."));
    meeting->keepChunk(cut(2, 3), sound(100));
    const fs::path journal = meeting->folder() / "journal";
    const std::string whole = files::read(journal).value();
    std::size_t before = 0;
    for (std::size_t length = whole.size() % 7; length <= whole.size(); length += 7) {
        fs::resize_file(journal, length);
        const Meetings left = afterKill();
        const std::size_t segments = left.empty() ? 0 : left[0]->record().segments.size();
        EXPECT_GE(segments, before);
        before = segments;
        std::ofstream(journal, std::ios::binary | std::ios::trunc) << whole;
    }
    EXPECT_EQ(before, 2u);

    fs::resize_file(journal, whole.size() - 5);
    meeting->finishChunk(words(3, 4, "After the tear."));
    std::ofstream(journal, std::ios::binary | std::ios::app)
        << "{\"chunk\":-1,\"finished\":true,\"text\":\"no\"}\n[1]\n{\"chunk\":1e99}\n{\"chunk\":\"x\"}\n\xFF{\n";
    EXPECT_EQ(textsIn(*afterKill().at(0)), "One.|Two.|After the tear.");
    std::ofstream(meeting->folder() / "state.json", std::ios::trunc) << "{\"subj";
    EXPECT_EQ(afterKill().at(0)->record().date, record.date) << "the folder's name tells it";
}

TEST_F(Running, AMeetingInUseIsLeftAloneAndACompleteOneGoes) {
    auto first = begin();
    const auto second = begin();
    EXPECT_NE(first->folder(), second->folder());
    first->keepChunk(cut(0, 1), sound(100));
    second->keepChunk(cut(0, 1), sound(100));
    EXPECT_TRUE(RunningMeeting::findUnfinished(folder.path, background).empty());

    const fs::path place = first->folder();
    first.reset();
    Meetings left = RunningMeeting::findUnfinished(folder.path, background);
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(left[0]->folder(), place);
    EXPECT_TRUE(left[0]->complete());
    record.userNotes = "typed at the last moment";
    second->noteState(record);
    EXPECT_TRUE(second->complete());
    background.runAll();
    EXPECT_EQ(second->trouble(), "") << "a write that comes too late harms nothing";
    fs::create_directories(folder / "complete_X" / "chunk-1.wav"); // a process was killed while it removed its folder
    fs::create_directories(folder / "running_2026-01-01_00-00-00");
    EXPECT_TRUE(RunningMeeting::findUnfinished(folder.path, background).empty());
    EXPECT_TRUE(fs::is_empty(folder.path));
}

TEST_F(Running, AStartFinishesWhatWasLeftBehindInTheSameFile) {
    const MeetingArchive archive(folder.path);
    {
        const auto meeting = begin();
        meeting->keepChunk(cut(0, 1), sound(100));
        meeting->finishChunk(words(0, 1, "Early."));
        meeting->keepChunk(cut(1, 65), sound(100));
        MeetingRecord ended = meeting->record();
        ended.elapsedFormatted = "1:30";
        const auto file = archive.saveNew(ended);
        ASSERT_TRUE(file);
        EXPECT_TRUE(meeting->noteSaved(file->filename(), ended.elapsedFormatted));
        EnhancedMeetingNotes notes;
        notes.keyDecisions = {"Kept"};
        archive.saveNotes(file->filename(), notes);
    }
    Meetings left = RunningMeeting::findUnfinished(folder.path, background);
    ASSERT_EQ(left.size(), 1u);
    ASSERT_EQ(left[0]->savedAs(), "meeting_2026-11-15_09-30-05.md");
    const KeptChunk chunk = left[0]->waiting().at(0);
    left[0]->finishChunk(words(chunk.number, chunk.timestamp, "Late.", chunk.speaker));
    EXPECT_EQ(archive.rewrite(*left[0]->savedAs(), left[0]->record()), MeetingArchive::Outcome::written);
    EXPECT_TRUE(left[0]->complete());
    const auto meetings = archive.load();
    ASSERT_EQ(meetings.size(), 1u);
    EXPECT_EQ(meetings[0].segments.size(), 2u);
    EXPECT_EQ(meetings[0].duration, "1:30");
    EXPECT_EQ(meetings[0].enhancedNotes->keyDecisions, (std::vector<std::string>{"Kept"}));
}

TEST_F(Running, WorkersAndTheMainThreadWriteAtTheSameTime) {
    constexpr int workers = 4, chunks = 25;
    {
        ThreadBackground threads;
        RunningMeeting meeting(folder.path, record, threads);
        std::vector<std::jthread> running;
        for (int worker = 0; worker < workers; ++worker)
            running.emplace_back([&meeting, worker] {
                for (int i = worker * chunks; i < (worker + 1) * chunks; ++i) {
                    meeting.keepChunk(cut(i, i), sound(50));
                    meeting.failChunk(i);
                    if (i % 5 != 0)
                        meeting.finishChunk(words(i, i, std::string(200, 'x')));
                }
            });
        for (int i = 0; i < 50; ++i) {
            record.userNotes += "word ";
            meeting.noteState(record);
            meeting.waiting();
        }
        running.clear();
        threads.stop();
        EXPECT_EQ(meeting.trouble(), "");
    }
    const Meetings left = afterKill();
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(left[0]->record().segments.size(), 80u);
    EXPECT_EQ(left[0]->waiting().size(), 20u);
    EXPECT_EQ(left[0]->waiting().back().failures, 1);
    EXPECT_EQ(left[0]->record().userNotes, record.userNotes) << "the latest";
}

TEST_F(Running, SoundThatNoLineNamesIsTakenUp) {
    const auto meeting = begin();
    for (int number = 0; number < 5; ++number)
        meeting->keepChunk(cut(number, 10.0 * (number + 1)), sound(16000 * 8));
    meeting->finishChunk(words(0, 10, "Heard."));
    const fs::path journal = meeting->folder() / "journal";
    // The power failed: the disk has the sound, but not all lines, or none.
    std::string lines;
    for (const std::string& line : text::split(files::read(journal).value(), '\n'))
        if (line.find("\"chunk\":2") == line.npos && line.find("\"chunk\":4") == line.npos)
            lines += line + "\n";
    std::ofstream(journal, std::ios::trunc) << lines;
    std::ofstream(meeting->folder() / "stranger.wav") << std::string(1000, 'x');
    {
        const Meetings left = afterKill();
        ASSERT_EQ(left.size(), 1u);
        EXPECT_EQ(waitingIn(*left[0]), "1 2 3 4");
        EXPECT_NEAR(left[0]->waiting()[1].timestamp, 28, 0.01) << "behind the one before";
        EXPECT_NEAR(left[0]->waiting()[3].timestamp, 48, 0.01);
    }
    fs::remove(journal);
    const Meetings left = afterKill();
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(waitingIn(*left[0]), "1 2 3 4") << "the words of the first are gone with the journal";
    EXPECT_EQ(left[0]->record().subject, "Weekly");
}

TEST_F(Running, NotesAreDueUntilTheyAreSettled) {
    const auto isDue = [&] {
        const auto notes = afterKill().at(0)->notes();
        return std::pair(notes.areDue, notes.asked);
    };
    const auto meeting = begin();
    meeting->keepChunk(cut(0, 1), sound(100));
    EXPECT_EQ(isDue(), std::pair(true, 0)) << "killed in the middle, nobody could ask for them";
    meeting->noteSaved("meeting_2026-11-15_09-30-05.md", "0:10");
    EXPECT_EQ(isDue(), std::pair(false, 0)) << "it ended without a word of notes";
    meeting->noteNotes(runningJournal::Notes::due);
    meeting->noteNotes(runningJournal::Notes::asked);
    EXPECT_EQ(isDue(), std::pair(true, 1));
    meeting->noteNotes(runningJournal::Notes::settled);
    EXPECT_EQ(isDue(), std::pair(false, 1));
}

TEST_F(Running, AFullDiskIsToldAndSoundWaitsInMemory) {
    const auto meeting = begin();
    meeting->keepChunk(cut(0, 1), sound(16000));
    const std::size_t journal = fs::file_size(meeting->folder() / "journal");
    {
        const test::ScarceDisk disk(journal + 4);
        EXPECT_TRUE(meeting->keepChunk(cut(1, 2), sound(16000)).chunks.empty());
        EXPECT_EQ(meeting->heldChunks(), 1u);
        EXPECT_NE(meeting->trouble().find("waits in memory (1 of 30 minutes)"), std::string::npos)
            << meeting->trouble();
        EXPECT_FALSE(meeting->finishChunk(words(0, 1, "Heard.")));
        record.userNotes = std::string(1000, 'x');
        meeting->noteState(record);
        background.runAll();
        EXPECT_TRUE(meeting->keepHeld().empty());
    }
    EXPECT_EQ(textsIn(*meeting), "Heard.") << "the words are in memory";
    EXPECT_EQ(waitingIn(*afterKill().at(0)), "0") << "and a start would ask for them again";
    const auto kept = meeting->keepChunk(cut(2, 3), sound(16000));
    background.runAll();
    ASSERT_EQ(kept.chunks.size(), 2u) << "there is room again";
    EXPECT_EQ(kept.chunks[0].number, 1);
    EXPECT_EQ(readRecording(kept.chunks[0].file, 16000).samples.size(), 16000u);
    EXPECT_EQ(waitingIn(*afterKill().at(0)), "1 2") << "what the journal had no room for is in it now";
    EXPECT_EQ(textsIn(*afterKill().at(0)), "Heard.");
    EXPECT_EQ(afterKill().at(0)->record().userNotes, record.userNotes);
    EXPECT_EQ(meeting->trouble(), "");
}

TEST_F(Running, MemoryHoldsHalfAnHourAndTellsWhatIsLost) {
    const auto meeting = begin();
    {
        const test::ScarceDisk disk(0);
        for (int number = 0; number < 6; ++number)
            EXPECT_FALSE(meeting->keepChunk(cut(number, 300.0 * number), sound(16000 * 300)).isLost);
        EXPECT_TRUE(meeting->keepChunk(cut(6, 1801), sound(16000)).isLost);
        EXPECT_NE(meeting->trouble().find("is lost"), std::string::npos) << meeting->trouble();
        EXPECT_EQ(meeting->heldChunks(), 6u) << "the beginning stays whole";
    }
    EXPECT_EQ(meeting->keepHeld().size(), 6u);
    EXPECT_EQ(meeting->trouble(), "");
}

TEST_F(Running, AFolderThatCouldNotBeMadeIsMadeAsSoonAsItCan) {
    const fs::path archive = folder / "meetings";
    std::ofstream(archive) << ""; // in the way
    RunningMeeting meeting(archive, record, background);
    EXPECT_NE(meeting.trouble(), "");
    const auto kept = meeting.keepChunk(cut(0, 1), sound(16000)).chunks;
    ASSERT_EQ(kept.size(), 1u) << "in the temporary folder";
    EXPECT_TRUE(fs::exists(kept[0].file));
    EXPECT_EQ(waitingIn(meeting), "0");
    EXPECT_FALSE(meeting.finishChunk(words(0, 1, "Heard.")));
    EXPECT_FALSE(fs::exists(kept[0].file));
    record.userNotes = "typed";
    meeting.noteState(record);
    fs::remove(archive);
    meeting.keepChunk(cut(1, 2), sound(16000));
    background.runAll();
    EXPECT_EQ(meeting.trouble(), "");
    fs::copy(archive, copies / "killed", fs::copy_options::recursive);
    const Meetings left = RunningMeeting::findUnfinished(copies / "killed", background);
    ASSERT_EQ(left.size(), 1u);
    EXPECT_EQ(textsIn(*left[0]), "Heard.");
    EXPECT_EQ(waitingIn(*left[0]), "1");
    EXPECT_EQ(left[0]->record().userNotes, "typed");
    EXPECT_TRUE(meeting.complete());
}
