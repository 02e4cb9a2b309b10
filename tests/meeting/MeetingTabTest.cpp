#include "meeting/MeetingTab.h"
#include "audio/AudioRecorder.h"
#include "base/Json.h"
#include "base/NotificationCenter.h"
#include "meeting/MeetingArchive.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "settings/Keychain.h"
#include "settings/ServiceKeys.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeAudio.h"
#include "support/FakeHttpClient.h"
#include "support/FakeMailProgram.h"
#include "support/FakeSecureStore.h"
#include "support/FakeSystemAudio.h"
#include "support/ScarceDisk.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

namespace {

/// The tab over a real controller and archive; the sound, the recogniser, the language models and the mail program are
/// the test's.
class MeetingTabTest : public ::testing::Test {
protected:
    using Face = MeetingTab::Face;

    MeetingTabTest() {
        http.onSend = [this](const HttpRequest&) -> HttpResponse {
            if (!modelAnswer)
                return {503, {}, "busy"};
            const nlohmann::json part{{"text", *modelAnswer}};
            return {200, {}, nlohmann::json{{"candidates", {{{"content", {{"parts", {part}}}}}}}}.dump()};
        };
        settle();
    }

    void giveKey() {
        store.values["gemini_api_key"] = "SECRET";
        tab.open();
        settle();
    }
    /// Somebody talks until a chunk is full, and the recogniser hears these words.
    void say(const std::string& words) {
        heard = words;
        std::vector<float> sound(1600);
        for (std::size_t i = 0; i < sound.size(); ++i)
            sound[i] = i % 2 == 0 ? 0.2f : -0.2f;
        for (int tenth = 0; tenth < 102; ++tenth) {
            input.hear(sound);
            queue.advance(0.1);
        }
        settle();
    }
    void settle() {
        for (int round = 0; round < 20; ++round) {
            background.runAll();
            queue.runPosted();
        }
    }
    /// A meeting with these words, ended as the delegate ends it.
    void hold(const std::vector<std::string>& words) {
        tab.start();
        for (const auto& one : words)
            say(one);
        tab.stop();
        settle();
    }
    std::vector<std::string> rows(TranscriptRows& rows) const {
        std::vector<std::string> all;
        for (const auto& row : rows.rows())
            all.push_back(row.speaker + ": " + row.text + (row.isStarred ? " *" : ""));
        return all;
    }
    std::vector<std::string> headings(const std::vector<NotesSection>& shown) const {
        std::vector<std::string> all;
        for (const auto& section : shown)
            all.push_back(section.heading);
        return all;
    }

    std::vector<std::string> texts(const std::vector<MeetingNotice>& notices) const {
        std::vector<std::string> all;
        for (const auto& notice : notices)
            all.push_back(notice.text);
        return all;
    }

    const EnvironmentVariable noGeminiKey{"GEMINI_API_KEY", nullptr}, noGroqKey{"GROQ_API_KEY", nullptr};
    const TemporaryFolder home;
    VirtualClock clock;
    VirtualMainQueue queue{clock};
    ManualBackground background;
    NotificationCenter notifications;
    Config config{home / "config.json", clock};
    const Deployment deployment = Deployment::load();
    FakeSecureStore store;
    Keychain keychain{store};
    ServiceKeys keys{keychain, [](std::stop_token) { return ServiceKeys::Configuration(); }, ""};
    FakeHttpClient http;
    FakeAudioInput input;
    AudioRecorder recorder{input, clock, queue, config, notifications};
    FakeSystemAudio computer;
    MeetingArchive archive{home / "meetings"};
    MeetingNotesWriter writer{{config, deployment, http, keys}};
    FakeMailProgram mail;
    MeetingDelivery delivery{{keychain, writer, clock, {}, &mail}};
    std::string heard;
    bool isDown = false; // the recogniser
    std::optional<std::string> modelAnswer = "TITLE: Budget\n\nSUMMARY:\nWe met.\n\nACTION ITEMS:\n- Call Ann\n";
    std::string clipboard;
    MeetingModeController controller{{.config = config,
                                      .clock = clock,
                                      .mainQueue = queue,
                                      .background = background,
                                      .systemAudio = computer,
                                      .archive = archive,
                                      .notesWriter = writer,
                                      .delivery = delivery,
                                      .transcribe = [this](const TranscribeRequest&, std::stop_token) {
                                          if (isDown)
                                              throw std::runtime_error("down");
                                          return std::exchange(heard, "");
                                      }}};
    MeetingTab tab{{controller, queue, background, [this](const std::string& text) { clipboard = text; },
                    [this] {
                        controller.startMeeting(recorder);
                        settle(); // a worker opens the microphone
                    },
                    [this] {
                        controller.stopMeeting();
                        if (controller.sessionMode() == MeetingMode::meeting && controller.hasWords())
                            controller.summarize();
                    }}};
};

} // namespace

TEST_F(MeetingTabTest, OneFaceFollowsAnother) {
    EXPECT_EQ(tab.face(), Face::setUp);
    EXPECT_EQ(tab.startCaption(), "Start Meeting");
    tab.setShowMeetingHistory(true);
    EXPECT_EQ(tab.face(), Face::history);
    EXPECT_EQ(tab.historyTitle(), "No meetings yet");

    giveKey();
    controller.setSubject("Plans");
    tab.start();
    EXPECT_EQ(tab.face(), Face::active);
    EXPECT_EQ(tab.activeTitle(), "Recording");
    say("We begin with the budget.");
    say("Ann has the figures.");
    EXPECT_THAT(rows(tab.transcript()),
                ElementsAre("Speaker 1: We begin with the budget.", "Speaker 1: Ann has the figures."));
    EXPECT_EQ(tab.countText(), "2 segments");
    tab.copyAll();
    EXPECT_THAT(clipboard, HasSubstr("Speaker 1: Ann has the figures."));
    EXPECT_EQ(tab.lastDone(), MeetingTab::Done::transcriptCopied);
    queue.advance(2.1);
    EXPECT_EQ(tab.lastDone(), MeetingTab::Done::nothing);

    tab.stop();
    settle();
    EXPECT_EQ(tab.face(), Face::ended);
    EXPECT_EQ(tab.endedTitle(), "Meeting ended — 2 segments · 1 speaker");
    EXPECT_THAT(headings(tab.notes()), ElementsAre("Summary", "Action Items"));
    EXPECT_EQ(tab.transcriptTitle(), "Full Transcript (2 segments)");
    tab.newMeeting();
    EXPECT_EQ(tab.face(), Face::setUp);
    EXPECT_EQ(controller.subject(), "");
    EXPECT_THAT(rows(tab.transcript()), IsEmpty());
    EXPECT_THAT(tab.recentMeetings(), SizeIs(1));

    controller.setMeetingMode(MeetingMode::transcription);
    EXPECT_EQ(tab.startCaption(), "Start Transcription");
    hold({"Only text."});
    controller.setMeetingMode(MeetingMode::meeting); // of the next one
    EXPECT_EQ(tab.endedTitle(), "Transcription complete — 1 segment · 1 speaker");
    EXPECT_TRUE(tab.isTranscriptionSession());
}

TEST_F(MeetingTabTest, WordsThatAreStillToComeAreNotCalledMissing) {
    isDown = true;
    hold({"Short."});
    EXPECT_EQ(tab.face(), Face::ended) << "its only words are on their way";
    EXPECT_FALSE(tab.hasTranscript());
    EXPECT_THAT(texts(tab.notices()), Contains(HasSubstr("still to be transcribed")));
    queue.advance(700);
    settle();
    EXPECT_EQ(tab.face(), Face::ended);
    EXPECT_THAT(texts(tab.notices()), Contains(HasSubstr("tries again in half an hour")));
    EXPECT_THAT(texts(tab.notices()), Not(Contains(HasSubstr("missing"))));
    isDown = false;
    heard = "Short.";
    queue.advance(1750);
    settle();
    EXPECT_THAT(rows(tab.transcript()), Contains("Speaker 1: Short."));
    EXPECT_THAT(tab.notices(), IsEmpty());
}

TEST_F(MeetingTabTest, NoticesAreClosedWhenTheyAreRead) {
    controller.refuse("A dictation is under way.");
    tab.tellRecovered();
    ASSERT_THAT(tab.notices(), SizeIs(2));
    EXPECT_TRUE(tab.notices()[0].canClose);
    tab.closeNotice(tab.notices()[0].text);
    EXPECT_THAT(texts(tab.notices()), ElementsAre("A dictation is under way."));
    tab.closeNotice("A dictation is under way.");
    EXPECT_THAT(tab.notices(), IsEmpty());
}

TEST_F(MeetingTabTest, NotesAreOnlyPromisedWhereTheyCanBeMade) {
    tab.open();
    settle();
    EXPECT_EQ(tab.setUpHint().section, "Services");
    EXPECT_EQ(tab.notesPrompt(), "Jot notes here...");
    giveKey();
    EXPECT_EQ(tab.setUpHint().text, "");
    EXPECT_THAT(tab.notesPrompt(), HasSubstr("AI will enhance them"));
    controller.setMeetingMode(MeetingMode::transcription);
    EXPECT_EQ(tab.notesPrompt(), "Jot notes here...");
    controller.setMeetingMode(MeetingMode::meeting);
    config.update([](Settings& settings) { settings.offlineMode = true; });
    hold({"Some words."});
    EXPECT_EQ(tab.missingNotes().section, "Offline");
    EXPECT_EQ(tab.setUpHint().section, "Offline");
    tab.newMeeting();
    tab.select(tab.recentMeetings()[0]->id);
    EXPECT_EQ(tab.selectedHint().section, "Offline");
    tab.selectedPastMeeting()->summarize();
    settle();
    EXPECT_EQ(tab.selectedPastMeeting()->outlet().notice().section, "Offline");
    EXPECT_EQ(tab.selectedHint().text, "") << "it is told once";
}

TEST_F(MeetingTabTest, NotesThatTheDiskDoesNotTakeAreTold) {
    giveKey();
    modelAnswer.reset();
    hold({"Some words."});
    tab.openSession();
    PastMeetingDetail& detail = *tab.selectedPastMeeting();
    modelAnswer = "TITLE: Late\n\nKEY DECISIONS:\n- Ship it\n";
    detail.summarize();
    const ScarceDisk none(0);
    settle();
    EXPECT_THAT(detail.outlet().notice().text, HasSubstr("could not be written"));
    EXPECT_THAT(headings(detail.notes()), ElementsAre("Key Decisions")) << "they can still be copied";
}

TEST_F(MeetingTabTest, NamesAndStarsShowAtOnceInAllRows) {
    tab.start();
    say("One thing.");
    say("Another thing.");
    std::vector<std::size_t> told;
    tab.transcript().setOnEdit([&](const TranscriptRows::Edit& edit) {
        EXPECT_NE(edit.kind, TranscriptRows::Edit::Kind::reset) << "a list would lose its place";
        told.push_back(edit.first);
    });
    tab.editSpeaker(1);
    EXPECT_EQ(tab.editingSpeakerId(), 0);
    EXPECT_EQ(tab.editingSpeakerName(), "Speaker 1");
    EXPECT_FALSE(tab.transcript().rows()[0].isEditing) << "the field stands in one row";
    EXPECT_TRUE(tab.transcript().rows()[1].isEditing);
    tab.setEditingSpeakerName(" Priya ");
    say("While the name is typed.");
    tab.commitSpeakerName();
    tab.toggleStar(0);
    EXPECT_THAT(rows(tab.transcript()),
                ElementsAre("Priya: One thing. *", "Priya: Another thing.", "Priya: While the name is typed."));
    EXPECT_EQ(tab.editingSpeakerId(), std::nullopt);
    tab.editSpeaker(0);
    tab.setEditingSpeakerName("Nobody");
    tab.cancelEditing();
    tab.commitSpeakerName();
    EXPECT_EQ(tab.transcript().rows()[0].speaker, "Priya");
    tab.editSpeaker(0);
    tab.setEditingSpeakerName("  ");
    tab.commitSpeakerName();
    EXPECT_EQ(tab.transcript().rows()[2].speaker, "Speaker 1") << "an empty name gives the label back";
    tab.editSpeaker(0);
    tab.commitSpeakerName();
    EXPECT_THAT(controller.speakerNames(), IsEmpty()) << "a label that is left as it was is no name";
    tab.editSpeaker(99);
    tab.toggleStar(99);
    EXPECT_EQ(told.front(), 1u);

    // The end is no reason to lose a name that is being written, and names and stars can be given after it.
    tab.editSpeaker(0);
    tab.setEditingSpeakerName("Tom");
    tab.stop();
    settle();
    EXPECT_EQ(tab.editingSpeakerId(), std::nullopt);
    EXPECT_EQ(tab.transcript().rows()[2].speaker, "Tom");
    tab.toggleStar(2);
    queue.advance(2);
    settle();
    ASSERT_THAT(tab.recentMeetings(), SizeIs(1));
    EXPECT_THAT(tab.recentMeetings()[0]->content, HasSubstr("Tom:** ⭐ While the name is typed."));
    tab.editSpeaker(1);
    tab.setEditingSpeakerName("Ann");
    tab.commitSpeakerName();
    tab.transcript().setOnEdit({});
    tab.newMeeting(); // at once: the file is written all the same
    queue.advance(2);
    settle();
    EXPECT_THAT(tab.recentMeetings()[0]->content, HasSubstr("Ann:** Another thing."));
}

TEST_F(MeetingTabTest, NotesThatDoNotComeAreToldWithAWayOn) {
    hold({"Some words."});
    EXPECT_THAT(tab.missingNotes().text, HasSubstr("Notes need a key"));
    EXPECT_EQ(tab.missingNotes().action, "Open Settings");
    EXPECT_EQ(tab.missingNotes().section, "Services");

    giveKey();
    modelAnswer.reset();
    hold({"Other words."});
    EXPECT_THAT(tab.missingNotes().text, HasSubstr("503"));
    ASSERT_EQ(tab.missingNotes().action, "Open Meeting");
    tab.openSession();
    ASSERT_EQ(tab.face(), Face::pastMeeting);
    PastMeetingDetail& detail = *tab.selectedPastMeeting();
    EXPECT_THAT(rows(detail.transcript()), ElementsAre("Speaker 1: Other words."));
    EXPECT_TRUE(detail.canSummarize());
    detail.summarize();
    EXPECT_TRUE(detail.isGenerating());
    settle();
    EXPECT_THAT(detail.outlet().notice().text, HasSubstr("503"));

    // Left before they come, they go into the file.
    modelAnswer = "TITLE: Late\n\nKEY DECISIONS:\n- Ship it\n";
    detail.setFocusInstruction("decisions only");
    EXPECT_EQ(detail.summarizeCaption(), "Summarize with focus");
    detail.summarize();
    const std::string id = detail.meeting().id;
    detail.back();
    EXPECT_EQ(tab.face(), Face::setUp);
    settle();
    EXPECT_THAT(http.requests.back().body, HasSubstr("decisions only"));
    tab.select(id);
    EXPECT_THAT(headings(tab.selectedPastMeeting()->notes()), ElementsAre("Key Decisions"));
    EXPECT_FALSE(tab.selectedPastMeeting()->canSummarize());
    EXPECT_THAT(tab.selectedPastMeeting()->meeting().content, HasSubstr("- Ship it"));

    EXPECT_THAT(tab.deletionText(id), HasSubstr("cannot be brought back"));
    tab.selectedPastMeeting()->remove();
    EXPECT_EQ(tab.face(), Face::setUp);
    settle();
    EXPECT_THAT(tab.recentMeetings(), SizeIs(1));
}

TEST_F(MeetingTabTest, NotesAreRefinedAndAFailureLeavesThem) {
    giveKey();
    hold({"Some words."});
    tab.refine();
    EXPECT_THAT(http.requests, SizeIs(1)) << "there was nothing to ask";
    tab.setRefinePrompt("shorter");
    modelAnswer.reset();
    tab.refine();
    settle();
    EXPECT_EQ(tab.outlet().notice().kind, MeetingNotice::Kind::error);
    EXPECT_EQ(tab.refinePrompt(), "shorter");
    EXPECT_EQ(tab.notesTitle(), "Budget");
    modelAnswer = "TITLE: Short\n\nSUMMARY:\nMet.\n\nRISKS:\n- Rain\n";
    tab.refine();
    tab.refine();
    settle();
    EXPECT_EQ(tab.notesTitle(), "Short");
    EXPECT_THAT(headings(tab.notes()), ElementsAre("Summary", "Risks"));
    EXPECT_EQ(tab.refinePrompt(), "");
    EXPECT_EQ(tab.outlet().notice().text, "");
    EXPECT_THAT(http.requests, SizeIs(3)) << "one refinement at a time";

    const auto fileIsAsked = tab.outlet().exporter();
    controller.setUserNotes("typed meanwhile");
    fileIsAsked(home / "out.md");
    settle();
    EXPECT_EQ(files::read(home / "out.md"), controller.buildMarkdown());
    EXPECT_THAT(*files::read(home / "out.md"), HasSubstr("typed meanwhile"));
    EXPECT_EQ(tab.outlet().notice().kind, MeetingNotice::Kind::good);
    tab.outlet().exporter()(home / "nowhere/out.md");
    settle();
    EXPECT_EQ(tab.outlet().notice().kind, MeetingNotice::Kind::error);
    const auto whileAnotherBegins = tab.outlet().exporter();
    tab.start();
    whileAnotherBegins(home / "out.md");
    settle();
    EXPECT_THAT(*files::read(home / "out.md"), HasSubstr("Short")) << "the meeting that the user was asked for";
    EXPECT_THAT(tab.notices(), IsEmpty());
}

TEST_F(MeetingTabTest, MailGoesToTheRecipientsOnce) {
    giveKey();
    config.update([](Settings& settings) { settings.meetingEmailRecipients = {"bob@example.com"}; });
    hold({"Some words."});
    EXPECT_EQ(recipientsText("", 0), "Email to: you");
    EXPECT_EQ(recipientsText("ann@example.com", 2), "Email to: ann@example.com +2 more");
    for (const char* typed : {"nobody", "a@b", "bob@example.com", " cleo@example.com\t"}) {
        tab.outlet().setNewRecipient(typed);
        tab.outlet().addRecipient();
    }
    EXPECT_EQ(tab.outlet().newRecipient(), "");
    EXPECT_THAT(controller.additionalRecipients(), ElementsAre("bob@example.com", "cleo@example.com"));

    tab.saveRecipientsAsDefaults();
    EXPECT_EQ(tab.lastDone(), MeetingTab::Done::recipientsSaved);
    EXPECT_THAT(config.get().meetingEmailRecipients, ElementsAre("bob@example.com", "cleo@example.com"));

    tab.outlet().email();
    tab.outlet().email();
    EXPECT_EQ(emailStatusText(tab.outlet().emailStatus()), "Sending...");
    settle();
    ASSERT_THAT(mail.drafts, SizeIs(1));
    EXPECT_THAT(mail.drafts[0].recipients, ElementsAre("bob@example.com", "cleo@example.com"));
    EXPECT_EQ(tab.outlet().emailStatus(), EmailStatus::idle) << "it lies in the mail program, and is not sent";
    EXPECT_EQ(tab.outlet().notice().kind, MeetingNotice::Kind::good);

    mail.fault = "No mail program answers; set one up.";
    tab.outlet().email();
    settle();
    EXPECT_EQ(tab.outlet().emailStatus(), EmailStatus::failed);
    EXPECT_THAT(tab.outlet().notice().text, HasSubstr("No mail program"));
    EXPECT_EQ(emailStatusText(tab.outlet().emailStatus()), "");

    mail.fault.reset();
    tab.newMeeting();
    tab.select(tab.recentMeetings()[0]->id);
    PastMeetingDetail& detail = *tab.selectedPastMeeting();
    for (int time = 0; time < 2; ++time) {
        detail.outlet().setNewRecipient("dan@example.com");
        detail.outlet().addRecipient();
    }
    EXPECT_THAT(detail.outlet().additionalRecipients(), ElementsAre("dan@example.com"));
    detail.outlet().email();
    settle();
    EXPECT_THAT(mail.drafts.back().recipients, ElementsAre("dan@example.com"));
}

TEST(TranscriptRowsOfThousands, GrowByOneAndKeepTheOrderOfCutting) {
    TranscriptRows rows;
    std::vector<TranscriptSegment> segments;
    const std::map<int, std::string> names;
    std::set<int> bookmarks;
    const auto add = [&](int index) {
        segments.push_back({std::to_string(index), index, double(index), "words", speakerAt(index % 3)});
        rows.follow({segments, names, bookmarks, std::nullopt});
    };
    for (int index = 0; index < 5000; ++index)
        add(index == 10 ? 6000 : index);
    std::vector<TranscriptRows::Edit> edits;
    rows.setOnEdit([&](const TranscriptRows::Edit& edit) { edits.push_back(edit); });
    add(10);
    ASSERT_THAT(edits, SizeIs(1));
    EXPECT_EQ(edits[0].kind, TranscriptRows::Edit::Kind::inserted);
    EXPECT_EQ(edits[0].first, 10u) << "a late one takes its place";
    bookmarks = {7};
    rows.follow({segments, names, bookmarks, std::nullopt});
    ASSERT_THAT(edits, SizeIs(2));
    EXPECT_EQ(edits[1].first, 7u);
    segments.clear();
    rows.follow({segments, names, bookmarks, std::nullopt});
    EXPECT_THAT(rows.rows(), IsEmpty());
}
