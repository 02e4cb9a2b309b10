#include "meeting/MeetingArchive.h"
#include "base/Dates.h"
#include "base/Files.h"
#include "base/Text.h"
#include "meeting/ArchivedNotes.h"
#include "support/EnvironmentVariable.h"
#include "support/ScarceDisk.h"
#include "support/TemporaryFolder.h"

#include <fstream>
#include <gtest/gtest.h>

using namespace fenlo;
namespace fs = std::filesystem;

namespace {

const auto meetingStart = dates::parseIso("2026-11-15T09:30:05Z").value();

TranscriptSegment segmentOf(int index, double timestamp, int speaker, const std::string& text) {
    return {files::makeUuid(), index, timestamp, text, speakerAt(speaker)};
}

EnhancedMeetingNotes someNotes() {
    EnhancedMeetingNotes notes;
    notes.title = "Release plan";
    notes.summary = "We ship on Friday. Bob tests.";
    notes.keyDecisions = {"Ship on Friday"};
    notes.actionItems = {"Bob tests", "Ann writes"};
    notes.discussionPoints = {"Risk: the date"};
    notes.followUps = {"Ask the client"};
    notes.additionalSections = {{"Post Changes", {"Fewer words"}}};
    return notes;
}

/// Two speakers, whose chunks came back out of order.
MeetingRecord someMeeting() {
    MeetingRecord record;
    record.date = meetingStart;
    record.subject = "Weekly";
    record.elapsedFormatted = "75:09";
    record.segments = {segmentOf(3, 4509.9, 0, "Bye: all done."), segmentOf(0, 2.0, 1, "Hello."),
                       segmentOf(1, 125.9, 0, "We ship on Friday.")};
    record.speakerNames = {{0, "Ann"}, {1, "Bob"}};
    record.bookmarks = {3, 0};
    record.userNotes = "\nbuy milk\n[ ] call\n\n## Transcript\n";
    record.kind = MeetingTemplate::sprintPlanning;
    record.notes = someNotes();
    return record;
}

constexpr const char* goldenHeader = "**Date:** Nov 15, 2026, 9:30 AM  \n"
                                     "**Duration:** 75:09  \n"
                                     "**Attendees:** Ann, Bob  \n"
                                     "**Template:** Sprint Planning  \n"
                                     "\n";
constexpr const char* goldenSections = "## Summary\n\nWe ship on Friday. Bob tests.\n\n"
                                       "## Key Decisions\n\n- Ship on Friday\n\n"
                                       "## Action Items\n\n- [ ] Bob tests\n- [ ] Ann writes\n\n"
                                       "## Discussion Points\n\n- Risk: the date\n\n"
                                       "## Follow-ups\n\n- Ask the client\n\n";
constexpr const char* goldenSection = "## Post Changes\n\n- Fewer words\n\n";
constexpr const char* goldenNotes = "## My Notes\n\nbuy milk\n[ ] call\n\n\\## Transcript\n\n";
constexpr const char* goldenTranscript = "## Transcript\n\n"
                                         "**[0:02] Bob:** \u2B50 Hello.\n\n"
                                         "**[2:05] Ann:** We ship on Friday.\n\n"
                                         "**[75:09] Ann:** \u2B50 Bye: all done.\n\n";
constexpr const char* goldenMetadata = "\n\n<!-- FENLO_META\n"
                                       "subject: Weekly\n"
                                       "duration: 75:09\n"
                                       "segments: 3\n"
                                       "speakers: 2\n"
                                       "template: sprintPlanning\n"
                                       "mode: meeting\n"
                                       "speakerNames: Speaker 1=Ann|Speaker 2=Bob\n"
                                       "bookmarks: 0,3\n"
                                       "userNotes: buy milk\\n[ ] call\\n\\n## Transcript\n"
                                       "FENLO_META -->\n";

std::vector<std::string> textsOf(const PastMeeting& meeting) {
    std::vector<std::string> texts;
    for (const PastMeetingSegment& it : meeting.segments)
        texts.push_back(it.text);
    return texts;
}

class Archive : public ::testing::Test {
protected:
    PastMeeting only() const {
        const auto meetings = archive.load();
        EXPECT_EQ(meetings.size(), 1u);
        return meetings.at(0);
    }
    void put(const std::string& file, const std::string& content) const {
        fs::create_directories(archive.folder());
        std::ofstream(archive.fileOf(file), std::ios::binary) << content;
    }

    const test::EnvironmentVariable zone{"TZ", "UTC"}, locale{"LC_ALL", "C"};
    const test::TemporaryFolder home;
    const MeetingArchive archive{home / "data" / "meetings"};
    const std::string name = "meeting_2026-11-15_09-30-05.md";
};

} // namespace

TEST_F(Archive, DeletedMeetingTakesOnlyItsOwnSoundAlong) {
    fs::create_directories(archive.folder() / "unrecognised");
    for (const char* sound : {"unrecognised/running_A-1.wav", "unrecognised/running_B-1.wav", "running_C-1.wav"})
        std::ofstream(archive.folder() / sound) << "sound";
    MeetingRecord record = someMeeting();
    record.unrecognised = {"running_A-1.wav", "../running_C-1.wav", "notes.txt"};
    const auto file = archive.save(record);
    ASSERT_TRUE(file);
    archive.saveNotes(name, *record.notes);
    EXPECT_TRUE(archive.remove(name));
    EXPECT_FALSE(fs::exists(archive.folder() / "unrecognised/running_A-1.wav"));
    EXPECT_TRUE(fs::exists(archive.folder() / "unrecognised/running_B-1.wav"));
    EXPECT_TRUE(fs::exists(archive.folder() / "running_C-1.wav"));
}

TEST_F(Archive, AFileIsWrittenByteForByteAndReadAgain) {
    const auto file = archive.save(someMeeting());
    ASSERT_EQ(file, archive.fileOf(name));
    EXPECT_EQ(files::read(*file), std::string("# Release plan\n\n") + goldenHeader + goldenSections + goldenNotes +
                                      goldenTranscript + goldenMetadata);
    EXPECT_EQ(fs::status(*file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fs::status(archive.folder()).permissions(), fs::perms::owner_all);

    const PastMeeting read = only();
    EXPECT_EQ(read.id, name);
    EXPECT_EQ(read.date, meetingStart);
    EXPECT_EQ(read.displayDate, "Nov 15, 2026, 9:30 AM");
    EXPECT_EQ(read.subject, "Weekly");
    EXPECT_EQ(read.duration, "75:09");
    EXPECT_EQ(read.segmentCount, 3);
    EXPECT_EQ(read.speakerCount, 2);
    EXPECT_EQ(read.userNotes, "buy milk\n[ ] call\n\n## Transcript");
    EXPECT_EQ(read.speakerNames, (std::map<std::string, std::string>{{"Speaker 1", "Ann"}, {"Speaker 2", "Bob"}}));
    EXPECT_EQ(read.bookmarkedTimestamps, (std::set<std::string>{"0", "3"}));
    EXPECT_EQ(read.kind, MeetingTemplate::sprintPlanning);
    EXPECT_EQ(read.mode, MeetingMode::meeting);
    EXPECT_EQ(textsOf(read), (std::vector<std::string>{"Hello.", "We ship on Friday.", "Bye: all done."}));
    EXPECT_EQ(read.segments[0].speakerLabel + read.segments[1].speakerLabel, "BobAnn");
    EXPECT_EQ(read.segments[0].speakerIndex, 0);
    EXPECT_EQ(read.segments[2].speakerIndex, 1);
    EXPECT_EQ(read.segments[2].timestamp, "75:09");
    EXPECT_NE(read.segments[0].id, read.segments[1].id);
    EnhancedMeetingNotes notes = someNotes();
    notes.additionalSections.clear(); // left to the update of notes
    EXPECT_EQ(read.enhancedNotes, notes);
}

TEST_F(Archive, WhatAMeetingLacksIsNotWritten) {
    MeetingRecord record;
    record.date = meetingStart;
    record.elapsedFormatted = "0:05";
    record.mode = MeetingMode::transcription;
    EXPECT_FALSE(archive.save(record));
    EXPECT_FALSE(fs::exists(archive.folder()));

    record.segments = {segmentOf(0, 5, 0, "Hello.")};
    ASSERT_TRUE(archive.save(record));
    EXPECT_EQ(
        files::read(archive.fileOf(name)),
        "# Meeting Notes\n\n**Date:** Nov 15, 2026, 9:30 AM  \n**Duration:** 0:05  \n**Attendees:** Speaker 1  \n\n"
        "## Transcript\n\n**[0:05] Speaker 1:** Hello.\n\n\n\n<!-- FENLO_META\nsubject: \nduration: 0:05\n"
        "segments: 1\nspeakers: 1\ntemplate: general\nmode: transcription\nFENLO_META -->\n");
    const PastMeeting read = only();
    EXPECT_EQ(read.subject, "");
    EXPECT_EQ(read.mode, MeetingMode::transcription);
    EXPECT_FALSE(read.enhancedNotes) << "a title makes no notes";
}

TEST_F(Archive, NotesAreReplacedAndTheRestStays) {
    MeetingRecord record = someMeeting();
    record.notes.reset();
    ASSERT_TRUE(archive.save(record));
    const std::string after =
        std::string("\n") + goldenNotes + goldenTranscript + goldenMetadata; // the update leaves one empty line more

    ASSERT_EQ(archive.saveNotes(name, someNotes()), MeetingArchive::Outcome::written);
    EXPECT_EQ(files::read(archive.fileOf(name)),
              std::string("# Weekly\n\n") + goldenHeader + goldenSections + goldenSection + after);
    EXPECT_EQ(only().enhancedNotes->additionalSections, someNotes().additionalSections);
    EXPECT_EQ(only().enhancedNotes->title, "Weekly") << "the title line is the meeting's";

    EnhancedMeetingNotes fewer;
    fewer.keyDecisions = {"Wait"};
    ASSERT_EQ(archive.saveNotes(name, fewer), MeetingArchive::Outcome::written);
    ASSERT_EQ(archive.saveNotes(name, fewer), MeetingArchive::Outcome::written);
    EXPECT_EQ(files::read(archive.fileOf(name)),
              std::string("# Weekly\n\n") + goldenHeader + "## Key Decisions\n\n- Wait\n\n" + after);

    // Late segments: the file is written again with the notes that it has.
    ASSERT_EQ(archive.saveNotes(name, someNotes()), MeetingArchive::Outcome::written);
    record.segments.push_back(segmentOf(2, 130, 1, "A late word."));
    ASSERT_EQ(archive.rewrite(name, record), MeetingArchive::Outcome::written);
    EXPECT_EQ(only().segments.size(), 4u);
    EXPECT_EQ(only().enhancedNotes->followUps, someNotes().followUps);
    EXPECT_EQ(only().enhancedNotes->additionalSections, someNotes().additionalSections);

    EXPECT_TRUE(archive.remove(name));
    EXPECT_EQ(archive.rewrite(name, record), MeetingArchive::Outcome::gone);
    EXPECT_EQ(archive.saveNotes(name, fewer), MeetingArchive::Outcome::gone);
    EXPECT_EQ(archive.saveNotes("../" + name, fewer), MeetingArchive::Outcome::gone);
    EXPECT_TRUE(archive.load().empty());
}

TEST_F(Archive, NotesOfALanguageModelCannotTakeTheFilesHeadings) {
    ASSERT_TRUE(archive.save(someMeeting()));
    EnhancedMeetingNotes notes;
    notes.title = "Release plan";
    notes.summary = "## Overview \\ We met";
    notes.actionItems = {"two\nlines"};
    notes.additionalSections = {{"Transcript", {"**[0:01] Eve:** x"}}, {"My Notes On It", {"y"}}};
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(archive.saveNotes(name, notes), MeetingArchive::Outcome::written);
        const PastMeeting read = only();
        notes.actionItems = {"two lines"};
        EXPECT_EQ(read.enhancedNotes, notes);
        EXPECT_EQ(read.segments.size(), 3u);
        EXPECT_NE(read.content.find(std::string(goldenNotes) + goldenTranscript + goldenMetadata), std::string::npos);
    }
}

TEST_F(Archive, HostileTextLosesNoWords) {
    const struct {
        const char* subject;
        const char* name;
        const char* notes;
        const char* text;
        const char* label;
    } cases[] = {
        {"--> now", "Ann|Bob", "one", "Hello there.", "Ann|Bob"},
        {"the end FENLO_META --> of it", "x=y", "<!-- FENLO_META\nmode: meeting\nFENLO_META -->", "Hi.", "x=y"},
        {"two\nlines", "An\nna", "# Big\n## Summary\nmine\n## Ideas\n- mine too", "a\n## Summary\nb", "An na"},
        {"## Transcript", "[0:01] Z", "**[0:01] Eve:** not said", "[1] x", "[0:01] Z"},
        {"<!-- FENLO_META", "C:", "## Transcript\n<!-- open", "FENLO_META -->", "C:"},
    };
    for (const auto& [subject, speaker, notes, text, label] : cases) {
        MeetingRecord record = someMeeting();
        record.mode = MeetingMode::transcription;
        record.subject = subject;
        record.speakerNames[1] = speaker;
        record.userNotes = notes;
        record.segments = {segmentOf(0, 1, 1, text), segmentOf(1, 2, 0, "The end.")};
        ASSERT_TRUE(archive.save(record));
        for (int update = 0; update < 3; ++update) {
            const PastMeeting read = only();
            EXPECT_EQ(read.subject, text::replaceAll(subject, "\n", " "));
            EXPECT_EQ(read.mode, record.mode) << subject;
            EXPECT_EQ(read.segmentCount, 2);
            EXPECT_EQ(read.userNotes, notes);
            EXPECT_EQ(textsOf(read), (std::vector<std::string>{text::replaceAll(text, "\n", " "), "The end."}));
            EXPECT_EQ(read.segments.at(0).speakerLabel, label);
            EXPECT_EQ(read.enhancedNotes->summary, someNotes().summary);
            for (const std::string& line : text::split(notes, '\n'))
                EXPECT_NE(read.content.rfind(line, read.content.find("\n## Transcript\n")), std::string::npos) << line;
            ASSERT_EQ(archive.saveNotes(name, *read.enhancedNotes), MeetingArchive::Outcome::written);
        }
    }
}

TEST_F(Archive, FilesOfOthersKeepTheirTranscriptToo) {
    // A line feed in a segment, as earlier versions wrote it, and a heading that somebody removed.
    const std::string broken = "# A\n\n## Summary\n\nold\n\n## Transcript\n\n**[0:01] Ann:** one\n## Summary\ntwo\n\n"
                               "**[0:02] Ann:** three\n\n\n\n<!-- FENLO_META\nsubject: A\nFENLO_META -->\n";
    const std::string removed = "# A\n\n## Summary\n\nold\n\n**[0:01] Ann:** one\n\n**[0:02] Ann:** three\n\n";
    EnhancedMeetingNotes notes;
    notes.followUps = {"new"};
    for (const std::string& content : {broken, removed}) {
        const std::string updated = withNotes(withNotes(content, notes), notes);
        EXPECT_EQ(updated.find("- new"), updated.rfind("- new"));
        EXPECT_EQ(updated.find("old"), std::string::npos);
        EXPECT_NE(updated.find(content.substr(content.find("**[0:01]"))), std::string::npos);
        const PastMeeting read = parsePastMeeting(name, updated);
        EXPECT_EQ(textsOf(read), (std::vector<std::string>{"one", "three"}));
    }
    EXPECT_EQ(parsePastMeeting("a.md", "intro\n# Title\n[0:05] no label\n[x\n[0:07]Bob: hi").segments.size(), 2u);
    const PastMeeting bare = parsePastMeeting("a.md", "intro\n# Title\nduration: 5\n## Ideas\n- x\n");
    EXPECT_EQ(bare.subject, "Title");
    EXPECT_EQ(bare.kind, MeetingTemplate::general);
    EXPECT_FALSE(bare.date || bare.enhancedNotes || bare.segmentCount != 0);
    const PastMeeting odd = parsePastMeeting(
        "a.md", "<!-- FENLO_META\n segments: many\nspeakers: 2\t\nmode: party\nspeakerNames: a=b|c=d=e|f=\n"
                "template: 1:1\nuserNotes: C:\\new\nFENLO_META -->");
    EXPECT_EQ(odd.segmentCount, 0);
    EXPECT_EQ(odd.speakerCount, 2);
    EXPECT_EQ(odd.speakerNames, (std::map<std::string, std::string>{{"a", "b"}, {"f", ""}}));
    EXPECT_FALSE(odd.kind || odd.mode);
    EXPECT_EQ(odd.userNotes, "C:\new");
}

TEST_F(Archive, TextFilesOfEarlierVersionsAreRead) {
    put("meeting_2025-01-02_03-04-05.txt",
        "Meeting Transcript\nSubject: Old one\nDuration: 12:05 | Segments: 40 |\tSpeakers: 2\n\n"
        "[0:05] Speaker 1: Hello.\n\n[0:09] Speaker 2: \u2B50 Hi: you\n\n[0:11] alone\n");
    const PastMeeting read = only();
    EXPECT_FALSE(read.isMarkdown);
    EXPECT_EQ(read.subject, "Old one");
    EXPECT_EQ(read.duration, "12:05");
    EXPECT_EQ(read.segmentCount, 40);
    EXPECT_EQ(read.speakerCount, 2);
    EXPECT_FALSE(read.kind || read.mode || read.enhancedNotes);
    EXPECT_EQ(textsOf(read), (std::vector<std::string>{"Hello.", "Hi: you", "alone"}));
    EXPECT_EQ(read.segments[1].speakerIndex, 1);
    EXPECT_EQ(read.segments[2].speakerLabel, "Speaker 1");

    ASSERT_EQ(archive.saveNotes(read.id, someNotes()), MeetingArchive::Outcome::written);
    EXPECT_EQ(only().enhancedNotes->summary, someNotes().summary) << "notes made of an old meeting are seen again";
    EXPECT_EQ(textsOf(only()), textsOf(read));
}

TEST_F(Archive, TheListIsNewestFirstAndSkipsWhatIsNoMeeting) {
    put("meeting_2026-11-15_09-30-05.md", "# B\n");
    put("meeting_2026-11-16_09-30-05.txt", "Subject: A\n");
    put("minutes.md", "# C \xFF\n");
    put("meeting_2026-02-30_09-30-05.md", "# D\n");
    put("meeting_2026-11-17_09-30-05.md.aB3xYz", "# half written\n");
    put("notes.pdf", "");
    fs::create_directories(archive.folder() / "running_2026-11-18_00-00-00.md");
    fs::create_symlink("nowhere", archive.folder() / "gone.md");
    std::vector<std::string> subjects;
    for (const PastMeeting& meeting : archive.load())
        subjects.push_back(meeting.subject);
    EXPECT_EQ(subjects, (std::vector<std::string>{"A", "B", "C \uFFFD", "D"}));
}

TEST_F(Archive, MeetingsOfTheSameSecondBothStay) {
    MeetingRecord first = someMeeting(), second = someMeeting();
    second.subject = "Another";
    ASSERT_TRUE(archive.saveNew(first));
    EXPECT_EQ(archive.saveNew(second), archive.fileOf("meeting_2026-11-15_09-30-06.md"));
    ASSERT_EQ(archive.load().size(), 2u);
    EXPECT_EQ(archive.load()[0].subject, "Another");
    EXPECT_TRUE(archive.holds(meetingStart));
    EXPECT_EQ(archive.load()[0].enhancedNotes->additionalSections, someNotes().additionalSections);

    EXPECT_EQ(archive.save(second), archive.fileOf(name));
    EXPECT_EQ(archive.load()[1].subject, "Another") << "save() writes over it";

    MeetingRecord onlyTyped;
    onlyTyped.date = meetingStart;
    onlyTyped.userNotes = "mine";
    EXPECT_FALSE(archive.save(onlyTyped));
    ASSERT_TRUE(archive.saveNew(onlyTyped));
    EXPECT_EQ(archive.load()[0].userNotes, "mine");
}

TEST_F(Archive, AFullDiskIsToldAndLeavesTheOldFile) {
    ASSERT_TRUE(archive.save(someMeeting()));
    const auto before = files::read(archive.fileOf(name));
    {
        const test::ScarceDisk disk(100);
        EXPECT_FALSE(archive.save(someMeeting()));
        EXPECT_FALSE(archive.saveNew(someMeeting()));
        EXPECT_EQ(archive.saveNotes(name, someNotes()), MeetingArchive::Outcome::failed);
        EXPECT_EQ(archive.rewrite(name, someMeeting()), MeetingArchive::Outcome::failed);
    }
    EXPECT_EQ(files::read(archive.fileOf(name)), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(archive.folder()), fs::directory_iterator()), 1);

    put("plain", "");
    const MeetingArchive impossible(archive.folder() / "plain" / "meetings");
    EXPECT_FALSE(impossible.saveNew(someMeeting()));
    EXPECT_TRUE(impossible.load().empty());
}
