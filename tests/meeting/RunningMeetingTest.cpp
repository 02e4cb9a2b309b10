#include "meeting/RunningMeeting.h"
#include "base/Dates.h"
#include "base/Files.h"
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

    const auto file = meeting->keepChunk(cut(0, 3.5, 1), sound(32000));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->parent_path(), meeting->folder());
    found("0", "", "0:03");
    ASSERT_TRUE(meeting->keepChunk(cut(1, 71.25), sound(16000)));
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
    EXPECT_FALSE(fs::exists(*file));
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

TEST_F(Running, AFullDiskIsToldAndTheMeetingGoesOn) {
    const auto meeting = begin();
    ASSERT_TRUE(meeting->keepChunk(cut(0, 1), sound(16000)));
    const std::size_t journal = fs::file_size(meeting->folder() / "journal");
    {
        const test::ScarceDisk disk(journal + 4);
        EXPECT_FALSE(meeting->keepChunk(cut(1, 2), sound(16000)));
        EXPECT_NE(meeting->trouble(), "");
        EXPECT_FALSE(meeting->finishChunk(words(0, 1, "Heard.")));
        record.userNotes = std::string(1000, 'x');
        meeting->noteState(record);
        background.runAll();
    }
    EXPECT_EQ(textsIn(*meeting), "Heard.") << "the words are in memory";
    EXPECT_EQ(waitingIn(*afterKill().at(0)), "0") << "and a start would ask for them again";
    ASSERT_TRUE(meeting->keepChunk(cut(2, 3), sound(16000)));
    EXPECT_EQ(waitingIn(*afterKill().at(0)), "0 2");
}

TEST_F(Running, WithoutAFolderTheMeetingGoesOnInTheTemporaryFolder) {
    std::ofstream(folder / "plain") << "";
    RunningMeeting meeting(folder / "plain" / "meetings", record, background);
    EXPECT_NE(meeting.trouble(), "");
    const auto file = meeting.keepChunk(cut(0, 1), sound(16000));
    ASSERT_TRUE(file && fs::exists(*file));
    EXPECT_EQ(waitingIn(meeting), "0");
    EXPECT_FALSE(meeting.finishChunk(words(0, 1, "Heard.")));
    EXPECT_FALSE(fs::exists(*file));
    meeting.noteState(record);
    EXPECT_EQ(textsIn(meeting), "Heard.");
    EXPECT_TRUE(meeting.complete());
}
