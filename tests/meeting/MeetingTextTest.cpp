#include "meeting/MeetingText.h"
#include "meeting/MeetingRecord.h"
#include "meeting/MeetingSearch.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(MeetingText, FillersGo) {
    EXPECT_EQ(stripFillers("Hmm, ah, , fine"), "fine");
    EXPECT_EQ(stripFillers("Uh, I think, you know, it works."), "I thinkit works.");
    EXPECT_EQ(stripFillers("An umbrella, likely  lost"), "An brellaly lost");
    EXPECT_EQ(stripFillers("Humming along, I like it"), "Humming along, I like it");
}

TEST(MeetingText, FillersGoAndOtherWordsStayWhole) {
    const auto strip = [](std::string_view text) { return stripFillers(text, Fillers::wholeWords); };
    EXPECT_EQ(strip("Hmm, ah, , fine"), "fine");
    EXPECT_EQ(strip("Uh, I think, you know, it works."), "I think it works.");
    EXPECT_EQ(strip("An umbrella, likely  lost"), "An umbrella, likely lost");
    EXPECT_EQ(strip("um so  we,  like, go ahead"), "so we go ahead");
}

TEST(MeetingText, KeepsWholeWordsWithoutControlCharacters) {
    const auto kept = [](const char* recognised) {
        TranscriptSegment chunk;
        chunk.text = recognised;
        return withKeptWords(std::move(chunk)).value_or(TranscriptSegment()).text;
    };
    EXPECT_EQ(kept(" Uh, an umbrella\n"), "an umbrella");
    EXPECT_EQ(kept("Thank you."), "");
}

TEST(MeetingText, ShortAndInventedTextsHaveLowValue) {
    for (const char* text : {"", " \n", "...", "?!", "ok", "Yes.", " Thank you! ", "THANKS FOR WATCHING", "Got it.",
                             "¿No?", "\"Bye.\"", "ab"})
        EXPECT_TRUE(isLowValue(text)) << text;
    for (const char* text : {"yes we can", "Thank you all", "abc", "no no", "subscribed"})
        EXPECT_FALSE(isLowValue(text)) << text;
}

TEST(MeetingText, TranscriptIsInTheOrderOfTheChunks) {
    MeetingRecord record;
    record.subject = "Budget";
    record.speakerNames = {{1, "Ann"}};
    record.segments = {{"c", 2, 125.9, "Third.", speakerAt(1)}, {"a", 0, 4500, "First.", speakerAt(0)}};
    EXPECT_EQ(transcriptText(record), "Subject: Budget\n\n[75:00] Speaker 1: First.\n\n[2:05] Ann: Third.");
}

TEST(MeetingSearch, LooksIntoSubjectFileAndNotes) {
    PastMeeting meeting;
    meeting.subject = "Straße";
    meeting.content = "# Heading with Needle\n\n  **[0:05] Ann:** The NEEDLE is here.\n";
    EXPECT_TRUE(holds(meeting, meetingSearchText(" needle ")));
    EXPECT_TRUE(holds(meeting, meetingSearchText("STRAßE")));
    EXPECT_FALSE(holds(meeting, meetingSearchText("summary")));
    meeting.enhancedNotes = EnhancedMeetingNotes{};
    meeting.enhancedNotes->summary = "A Summary";
    EXPECT_TRUE(holds(meeting, meetingSearchText("summary")));
    EXPECT_EQ(snippetOf(meeting, "needle"), "**[0:05] Ann:** The NEEDLE is here.");
    EXPECT_EQ(snippetOf(meeting, ""), std::nullopt);
    EXPECT_EQ(snippetOf(meeting, "heading"), std::nullopt);
}

TEST(MeetingSearch, LongLinesAreCutAroundTheFirstOccurrence) {
    PastMeeting meeting;
    // The capital I with a dot is longer in lower case, and must not shift the cut.
    const std::string dotted = "\u0130\u0130\u0130";
    meeting.content = dotted + std::string(60, 'a') + "NEEDLE" + std::string(60, 'b');
    EXPECT_EQ(snippetOf(meeting, "needle"), "..." + std::string(40, 'a') + "NEEDLE" + std::string(40, 'b') + "...");
    meeting.content = "needle" + std::string(100, 'b');
    EXPECT_EQ(snippetOf(meeting, "needle"), "...needle" + std::string(40, 'b') + "...");
    meeting.content = std::string(94, 'b') + "needle";
    EXPECT_EQ(snippetOf(meeting, "needle"), meeting.content);
}
