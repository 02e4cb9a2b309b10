#include "meeting/MeetingDelivery.h"
#include "base/Files.h"
#include "base/Text.h"
#include "base/Url.h"
#include "meeting/AutoSend.h"
#include "meeting/MeetingNotesWriter.h"
#include "meeting/Recipients.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "settings/Keychain.h"
#include "support/FakeHttpClient.h"
#include "support/FakeMailProgram.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

using nlohmann::ordered_json;
using Outcome = MailOutcome::Kind;

const EnhancedMeetingNotes mailedNotes{"Spring sale",
                                       {},
                                       "We met.",
                                       {"Offer 10 %"},
                                       {},
                                       {"Price"},
                                       {},
                                       {{"Risks", {"One"}}, {"Plans", {"Two"}}, {"Risks", {"Three"}}}};

/// The delivery with a service that takes or refuses, a mail program, and a language model that sums up.
class MeetingDeliveryTest : public ::testing::Test {
protected:
    MeetingDeliveryTest() {
        store.values = {{"google_user_email", "me@example.org"}, {"groq_api_key", "Q"}};
        http.onSend = [](const HttpRequest&) {
            return HttpResponse{
                200, {}, R"({"choices": [{"message": {"content": "## Summary\nShort.\n## Action Items\n- Call"}}]})"};
        };
    }

    MeetingDelivery delivery(bool hasService = true, bool hasProgram = true) {
        ServiceMail serviceMail;
        if (hasService)
            serviceMail = [this](const MeetingMail& mail, std::stop_token) {
                sent.push_back(requestBody(mail));
                return isAccepted;
            };
        return MeetingDelivery({keychain, writer, clock, serviceMail, hasProgram ? &program : nullptr});
    }

    NotesMail notesMail() const {
        return {mailedNotes,
                "",
                "typed",
                clock.wallTime(),
                "12:05",
                "[0:01] Ann: Hello.",
                {"", "a@b.org", "me@example.org"},
                "/meetings/meeting_1.md"};
    }

    VirtualClock clock;
    FakeHttpClient http;
    Config config{files::temporaryFile("config_", ".json"), clock};
    const Deployment deployment;
    FakeSecureStore store;
    Keychain keychain{store};
    ServiceKeys keys{keychain, {}, ""};
    MeetingNotesWriter writer{{config, deployment, http, keys}};
    FakeMailProgram program;
    bool isAccepted = true;
    std::vector<ordered_json> sent;
    LogCapture log;
};

} // namespace

TEST_F(MeetingDeliveryTest, TheServiceIsToldAllOfAMail) {
    const std::string date = dates::mediumText(clock.wallTime());
    MeetingDelivery mails = delivery();
    EXPECT_EQ(mails.sendEnhancedNotesEmail(notesMail(), {}).line, "Sent to me@example.org, a@b.org.");
    ordered_json expected = ordered_json::parse(R"({"email": "me@example.org", "subject": "Meeting Notes: Spring sale",
        "notes": {"title": "Spring sale", "summary": "We met.", "key_decisions": ["Offer 10 %"], "action_items": [],
                  "discussion_points": ["Price"], "follow_ups": [],
                  "additional_sections": {"Risks": ["One", "Three"], "Plans": ["Two"]}},
        "meeting_date": "", "duration": "12:05", "user_notes": "typed", "transcript": "[0:01] Ann: Hello.",
        "additional_recipients": ["a@b.org"]})");
    expected["meeting_date"] = date;
    EXPECT_EQ(sent.at(0), expected);

    const auto start = clock.wallTime() - std::chrono::seconds(3725);
    mails.sendMeetingEmail({"Subject: x\n\n[0:01] Ann: Hello.\n", "Spring sale", {"me@example.org"}, start}, {});
    expected = ordered_json::parse(R"({"email": "me@example.org", "subject": "Meeting Notes: Spring sale",
        "notes": {"title": "Spring sale", "summary": "Short.", "takeaways": [], "action_items": ["Call"]},
        "meeting_date": "", "duration": "62:05", "transcript": "[0:01] Ann: Hello."})");
    expected["meeting_date"] = date;
    EXPECT_EQ(sent.at(1), expected);

    http.onSend = [](const HttpRequest&) { return HttpResponse{500, {}, ""}; };
    const dates::Moment longAgo{};
    mails.sendMeetingEmail({"[0:01] Ann: Hello.", "", {}, {}, longAgo, "75:00"}, {});
    EXPECT_EQ(sent.at(2)["notes"], ordered_json::parse(R"({"title": "Meeting Transcript"})"));
    EXPECT_EQ(sent.at(2)["meeting_date"], dates::mediumText(longAgo));
    EXPECT_EQ(sent.at(2)["duration"], "75:00");

    mails.sendTranscriptionEmail({"", "[0:01] Speaker 1: Hello.", 1, 2, clock.wallTime(), "0:09", {"a@b.org"}}, {});
    EXPECT_EQ(sent.at(3)["notes"],
              ordered_json::parse(R"({"title": "Transcription", "summary": "1 segment · 2 speakers · 0:09"})"));
    EXPECT_EQ(sent.at(3)["subject"], "Transcription: Transcription");
    isAccepted = false;
    NotesMail titled = notesMail();
    titled.title = "Given";
    EXPECT_EQ(mails.sendEnhancedNotesEmail(titled, {}).kind, Outcome::failed);
    EXPECT_EQ(sent.at(4)["subject"], "Meeting Notes: Given");
    mails.sendTranscriptionEmail({}, {});
    EXPECT_THAT(program.drafts, IsEmpty());
    EXPECT_THAT(log.lines(), ElementsAre("[Fenlo] Enhanced notes email sent to me@example.org, a@b.org",
                                         "[Fenlo] Meeting email sent to me@example.org",
                                         "[Fenlo] ERROR: Meeting summary failed: no API keys or both APIs failed",
                                         "[Fenlo] Meeting email sent to me@example.org",
                                         "[Fenlo] Transcription email sent to me@example.org",
                                         "[Fenlo] Enhanced notes email failed to me@example.org, a@b.org",
                                         "[Fenlo] Transcription email failed to me@example.org"));
}

TEST_F(MeetingDeliveryTest, TheMailProgramTakesWhatNoServiceSends) {
    EXPECT_TRUE(delivery().sendsByItself());
    EXPECT_FALSE(delivery(false).sendsByItself()) << "the program would only open";
    store.values.erase("google_user_email");
    EXPECT_FALSE(delivery().sendsByItself());
    const MailOutcome outcome = delivery().sendEnhancedNotesEmail(notesMail(), {});
    EXPECT_EQ(outcome.kind, Outcome::opened);
    EXPECT_EQ(outcome.line, "Your mail program has the mail, ready for you to send.");
    const MailDraft& draft = program.drafts.at(0);
    EXPECT_THAT(draft.recipients, ElementsAre("a@b.org", "me@example.org"));
    EXPECT_EQ(draft.file, "/meetings/meeting_1.md");
    EXPECT_EQ(draft.text,
              "Spring sale\n" + dates::mediumText(clock.wallTime()) +
                  " · 12:05\n\nSummary\nWe met.\n\nKey Decisions\n- Offer 10 %\n\nDiscussion Points\n- Price\n"
                  "\nRisks\n- One\n\nPlans\n- Two\n\nRisks\n- Three\n\nMy Notes\ntyped\n");
    program.fault = "It is missing; install it.";
    EXPECT_EQ(delivery().sendEnhancedNotesEmail(notesMail(), {}).line, *program.fault);

    const std::size_t requests = http.requests.size();
    for (const auto& outcomeWithout : {delivery(true, false).sendMeetingEmail({}, {}),
                                       delivery(false, false).sendEnhancedNotesEmail(notesMail(), {}),
                                       delivery(true, false).sendTranscriptionEmail({}, {})})
        EXPECT_EQ(outcomeWithout.kind, Outcome::failed);
    EXPECT_EQ(http.requests.size(), requests) << "no summary for a mail that cannot go";
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(log.lines(),
                ElementsAre("[Fenlo] Enhanced notes email opened in the mail program",
                            "[Fenlo] ERROR: Enhanced notes email was not opened in a mail program: It is missing; "
                            "install it.",
                            "[Fenlo] ERROR: Meeting email: no user email",
                            "[Fenlo] ERROR: Meeting email: no user email",
                            "[Fenlo] ERROR: Transcription email: no user email"));
}

TEST_F(MeetingDeliveryTest, ALongTranscriptIsCutAtALine) {
    std::string file = "# Spring sale\n\n## Transcript\n\n";
    for (int i = 0; i < 5000; ++i)
        file += "**[" + std::to_string(i) + ":00] Zoë:** Wörter und Wörter\n\n";
    MeetingDelivery mails = delivery(false);
    const auto outcome = mails.sendMeetingEmail({file, "Sale", {}, {}, {}, "", "/meetings/meeting_1.md"}, {});
    EXPECT_THAT(outcome.line, EndsWith("all of it is in /meetings/meeting_1.md."));
    const std::string text = program.drafts.at(0).text;
    EXPECT_LT(url::percentEncode(text::replaceAll(text, "\n", "\r\n"), "").size(), 34'000u);
    EXPECT_THAT(text, HasSubstr("\nSummary\nShort.\n"));
    EXPECT_THAT(text, HasSubstr("\nTranscript\n[0:00] Zoë: Wörter und Wörter\n[1:00] Zoë: "));
    EXPECT_THAT(text, EndsWith("Zoë: Wörter und Wörter\n\n[Cut here: the whole text is in the file meeting_1.md]\n"));
}

TEST_F(MeetingDeliveryTest, AFileWithNotesIsNotSummedUpAgain) {
    const std::string file = "# Sale\n\n**Date:** x  \n\n## Summary\n\nWe met.\n\n## Action Items\n\n- [ ] Call\n\n"
                             "## Transcript\n\n**[0:01] Ann:** \u2B50 Hello: you.\n\n";
    delivery(false).sendMeetingEmail({file, "Sale", {}, {}, clock.wallTime(), "1:00"}, {});
    EXPECT_EQ(program.drafts.at(0).text, "Sale\n" + dates::mediumText(clock.wallTime()) +
                                             " · 1:00\n\nSummary\nWe met.\n\nAction Items\n- Call\n\nTranscript\n"
                                             "[0:01] Ann: \u2B50 Hello: you.\n");
    EXPECT_THAT(http.requests, IsEmpty());
    delivery().sendMeetingEmail({file, "Sale", {}}, {});
    EXPECT_EQ(http.requests.size(), 1u) << "the service's mail always has one";
}

TEST(ReadableMail, IsNeverTooLongForAMailProgram) {
    const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
    for (const std::string& typed :
         {std::string(200'000, 'x'), text::replaceAll(std::string(20'000, 'x'), "x", family),
          std::string(200'000, '\n') + "x", text::replaceAll(std::string(9'000, 'x'), "x", "ü\n")}) {
        MeetingMail mail;
        mail.notes.title = typed;
        mail.userNotes = mail.transcript = typed;
        const ReadableMail readable = readableMail(mail, "meeting_1.md");
        EXPECT_FALSE(readable.isWhole);
        EXPECT_LE(url::percentEncode(text::replaceAll(readable.text, "\n", "\r\n"), "").size(), maxMailText);
        EXPECT_EQ(text::repairUtf8(readable.text), readable.text) << "characters stay whole";
    }
}

TEST(CleanTranscript, LosesWhatIsNotSaid) {
    EXPECT_EQ(
        cleanTranscript("# Title\n\n**Date:** x  \n**Duration:** 1:00  \n**Attendees:** Ann  \n**Template:** y  \n\n"
                        "## Summary\n\nWe met.\n\n## Transcript\n\n  **[0:01] Ann:** Hello. \n\n"
                        "\n<!-- FENLO_META\nsubject: x\nFENLO_META -->\n"),
        "## Summary\nWe met.\n  **[0:01] Ann:** Hello.");
    EXPECT_EQ(cleanTranscript(
                  "Meeting Transcript of\nDuration: 1:00\nSubject: x\nMeeting Notes — y\n<!--\n \t-->\n[0:01] A: b"),
              "[0:01] A: b");
    EXPECT_EQ(cleanTranscript("[0:01] A: FENLO_META\nlost\nsay FENLO_META\n[0:02] B: c"), "[0:02] B: c");
}

TEST(Recipients, AreAddedOnce) {
    const std::vector<std::string> there{"a@b.org"};
    EXPECT_EQ(addressToAdd(" \tc@d.org ", there, "me@e.org"), "c@d.org");
    for (const char* typed : {"", " ", "c.d", "c@d", "a@b.org ", " me@e.org"})
        EXPECT_FALSE(addressToAdd(typed, there, "me@e.org")) << typed;
    EXPECT_THAT(cleanRecipients({"", "me@e.org", "x", ""}, "me@e.org"), ElementsAre("x"));
}

namespace {

class AutoSendTest : public ::testing::Test {
protected:
    /// Advances second by second. Returns what the countdown showed.
    std::vector<int> seconds(int count) {
        std::vector<int> shown;
        for (; count > 0; --count) {
            shown.push_back(autoSend->countdown());
            mainQueue.advance(1);
        }
        return shown;
    }

    VirtualClock clock;
    VirtualMainQueue mainQueue{clock};
    std::vector<AutoSend::Done> sending;
    int changes = 0;
    std::optional<AutoSend> autoSend{std::in_place, mainQueue,
                                     [this](AutoSend::Done done) { sending.push_back(std::move(done)); },
                                     [this] { ++changes; }};
};

} // namespace

TEST_F(AutoSendTest, CountsDownAMinuteThenSendsOnce) {
    autoSend->start();
    EXPECT_THAT(seconds(3), ElementsAre(60, 59, 58));
    seconds(55);
    EXPECT_THAT(seconds(2), ElementsAre(2, 1));
    EXPECT_EQ(autoSend->countdown(), 0);
    ASSERT_EQ(sending.size(), 1u);
    EXPECT_FALSE(autoSend->isCompleted());
    const int before = changes;
    sending[0](true);
    EXPECT_TRUE(autoSend->isCompleted());
    EXPECT_EQ(changes, before + 1);
    seconds(120);
    EXPECT_EQ(sending.size(), 1u);
}

TEST_F(AutoSendTest, CancelledAtOneSecondNothingGoesOut) {
    autoSend->start();
    seconds(59);
    EXPECT_EQ(autoSend->countdown(), 1);
    autoSend->cancel();
    seconds(60);
    EXPECT_EQ(autoSend->countdown(), 0);
    EXPECT_TRUE(autoSend->isCancelled());
    EXPECT_TRUE(sending.empty());
    autoSend->start();
    EXPECT_FALSE(autoSend->isCancelled());
    seconds(60);
    EXPECT_EQ(sending.size(), 1u);
}

TEST_F(AutoSendTest, TheResultOfAnEarlierMeetingDoesNotCount) {
    autoSend->start();
    seconds(60);
    autoSend->reset();
    autoSend->start();
    sending.at(0)(true);
    EXPECT_FALSE(autoSend->isCompleted());
    EXPECT_EQ(autoSend->countdown(), 60);
    seconds(60);
    autoSend.reset();
    const int before = changes;
    sending.at(1)(true);
    EXPECT_EQ(changes, before) << "nobody is left to hear of it";
}
