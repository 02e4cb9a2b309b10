#include "meeting/MeetingNotes.h"
#include "base/Text.h"
#include "meeting/NotesPrompts.h"
#include "support/Approved.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using NotesSection = EnhancedMeetingNotes::Section;

constexpr const char* wholeAnswer = "Sure, here are the notes:\n"
                                    "TITLE: Spring sale\n\n"
                                    "SUMMARY:\nWe met.\n  It went well.\t\n\nWe part.\n"
                                    "ATTENDEES:\n- Ann\nBob\n"
                                    "KEY DECISIONS:\n- Offer 10 %\nwhich is a lot\n* No dash\n- Ask Bob\n"
                                    "ACTION ITEMS:\n- None\n- none\n-None\n"
                                    "DISCUSSION POINTS:\n- Price: too high\n"
                                    "FOLLOW UPS:\n- Call\n"
                                    "NEXT STEPS:\n- One\n"
                                    "RISKS/DETOURS OF Q3:\n- None\n"
                                    "FOLLOW-UPS:\n- Again";

const EnhancedMeetingNotes refinedNotes{"Spring sale",
                                        {},
                                        "We met. It went well.",
                                        {"Offer 10 %", "Ask Bob"},
                                        {},
                                        {"Price: too high"},
                                        {},
                                        {{"Post Changes", {"One", "Two"}}, {"Risiken für Straße 7", {"Three"}}}};

/// Title, summary and lists, each where there is one.
std::string onOneLine(const EnhancedMeetingNotes& notes) {
    std::string line = notes.title + (notes.summary.empty() ? "" : "|" + notes.summary);
    if (!notes.keyDecisions.empty())
        line += "|decisions: " + text::join(notes.keyDecisions, ", ");
    for (const auto& [heading, items] : notes.additionalSections)
        line += "|" + heading + ": " + text::join(items, ", ");
    return line;
}

std::string shown(const std::string& header, const ModelPrompt& prompt) {
    EXPECT_EQ(prompt.maxAnswerTokens, 2048);
    return header + "\n\n==== SYSTEM PROMPT\n" + prompt.system + "\n\n==== USER MESSAGE\n" + prompt.user + "\n";
}

} // namespace

TEST(MeetingNotes, AreReadFromAWholeAnswer) {
    EnhancedMeetingNotes notes = parseNotes(wholeAnswer, "Unused");
    EXPECT_EQ(notes.title, "Spring sale");
    EXPECT_EQ(notes.summary, "We met. It went well. We part.");
    EXPECT_THAT(notes.attendees, IsEmpty());
    EXPECT_THAT(notes.keyDecisions, ElementsAre("Offer 10 %", "Ask Bob"));
    EXPECT_THAT(notes.actionItems, ElementsAre("none"));
    EXPECT_THAT(notes.discussionPoints, ElementsAre("Price: too high"));
    EXPECT_THAT(notes.followUps, ElementsAre("Call", "Again"));
    EXPECT_THAT(notes.additionalSections, ElementsAre(NotesSection{"Next Steps", {"One"}}));
    EXPECT_FALSE(isEmpty(notes));
    EXPECT_EQ(parseNotes(notesAsText(notes), ""), notes) << "what was written is read again";
}

TEST(MeetingNotes, HeadingsStandAlone) {
    struct Case {
        std::string answer, notes;
    };
    for (const auto& [answer, notes] : {
             Case{"", "Subject"},
             {"- No heading\nat all", "Subject"},
             {"TITLE:\nSUMMARY: we met\nTITLE: A TITLE: B ", "A  B"},
             {"SUMMARY:\nOne\nTITLE: T\nTwo\nSUMMARY: three", "T|One Two SUMMARY: three"},
             {"Summary:\n- Lower case", "Subject"},
             {"Q3:\n- Dropped\nQ34:\n- Kept", "Subject|Q34: Kept"},
             {"KEY DECISIONS:\nQ3:\n- Kept", "Subject|decisions: Kept"},
             {"ÉTÉ À VENIR:\n- Oui\nÉté:\n- Non", "Subject|Été À Venir: Oui, Non"},
             {"ACTION ITEMS:\nATTENDEES: Ann\n- Ann", "Subject"},
             {"A PLAN:\nA PLAN:\n- One\nA PLAN:\n- Two", "Subject|A Plan: One|A Plan: Two"},
         })
        EXPECT_EQ(onOneLine(parseNotes(answer, "Subject")), notes) << answer;
    EXPECT_TRUE(isEmpty(parseNotes("# In another form", "Subject")));
}

TEST(MeetingNotes, AreFoundInMarkdownToo) {
    const auto notes =
        parseNotes(withoutMarkdown("# Title: The *sale*\n```\n## Summary\nWe **met**.\n\n**Key Decisions:**\n"
                                   "* Offer\n • **Ask**: Bob\n### Follow-ups\n- Call\n####\n#\n"
                                   "NEXT STEPS:\n- One"),
                   "");
    EXPECT_EQ(onOneLine(notes), "The *sale*|We met.|decisions: Offer, Ask: Bob|Next Steps: One");
    EXPECT_THAT(notes.followUps, ElementsAre("Call"));
}

TEST(BasicSummary, IsReadByItsHeadings) {
    const BasicSummary expected{"We met. It was - well - good.", {"One", "**Two**"}, {"Call Bob"}};
    EXPECT_EQ(
        parseBasicSummary("Hello\n- x\n## Summary of it\n We met.\n\nIt was - well - good.\n## Key Takeaways:\n- One\n"
                          "no item\n- **Two**\n## Action Items\n- Call Bob\n### Other\n"),
        expected);
    EXPECT_EQ(parseBasicSummary("no heading"), BasicSummary());
}

TEST(NotesPrompts, AreApproved) {
    const std::string transcript = "Subject: Spring sale\n\n[0:12] Ann: The price is too high for them.\n\n"
                                   "[2:05] Speaker 2: Let's offer 10 %.";
    expectApproved(
        "notes", shown("A sales call of a doctor, who typed notes meanwhile.",
                       notesPrompt(transcript, " \nask Bob\nabout \"10 %\"\n ", MeetingTemplate::salesCall, "doctor")));
    EXPECT_EQ(notesPrompt(transcript, " \n\t", MeetingTemplate::general, "").user, transcript);
    expectApproved("past-notes",
                   shown("A meeting of the archive without a template, and a profession that is not known.",
                         pastNotesPrompt("# Spring sale\n\n## Transcript\n\n**[0:12] Ann:** Too dear.\n\n"
                                         "<!-- FENLO_META\nsubject: Spring sale\nFENLO_META -->\n",
                                         std::nullopt, "juggler")));
    expectApproved("refine", shown("Notes with an empty list and two sections of their own.",
                                   refinePrompt(refinedNotes, "focus on \"action items\"", transcript)));
    expectApproved("basic-summary", shown("The summary for the mail of a transcript.", basicSummaryPrompt(transcript)));
    std::string templates;
    for (const MeetingTemplate kind : meetingTemplates)
        templates += std::string(rawValue(kind)) + ": " + std::string(templateInstruction(kind)) + "\n";
    expectApproved("templates", templates);
}
