#include "meeting/MeetingModeController.h"
#include "MeetingFixture.h"
#include "speech/Transcription.h"

#include "support/Sanitizer.h"
#include "support/ScarceDisk.h"

#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

using namespace fenlo;

namespace {

using Texts = std::vector<std::string>;

class MeetingSession : public test::MeetingFixture {
protected:
    void start() { begin(); }
    void fail(std::set<int> numbers) {
        failing = std::move(numbers);
        hear = [this](int number) {
            asked.push_back(number);
            if (isDown || failing.contains(number))
                throw TranscriberError(TranscriberError::Kind::networkError, "away");
            return "Words of chunk " + std::to_string(number);
        };
    }
    void answerNotes(const std::string& text) {
        keychain.save("gemini_api_key", "key");
        http.onSend = [text](const HttpRequest&) {
            const nlohmann::json reply = {{"candidates", {{{"content", {{"parts", {{{"text", text}}}}}}}}}};
            return HttpResponse{200, {}, reply.dump()};
        };
    }

    std::set<int> failing;
    bool isDown = false;
    std::vector<int> asked;
};

std::size_t residentKilobytes() {
    std::size_t whole = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> whole >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) / 1024;
}

bool contains(const std::string& text, const std::string& what) {
    return text.find(what) != std::string::npos;
}

} // namespace

TEST_F(MeetingSession, SteadyTalkerIsCutAfterTheLongestTime) {
    const test::LogCapture logged;
    meetings->setSubject("Budget");
    start();
    speak(31.2);
    work();
    EXPECT_EQ(texts(), (Texts{"Words of chunk 0", "Words of chunk 1", "Words of chunk 2"}));
    EXPECT_TRUE(logged.contains("[Fenlo] Meeting mode started"));
    EXPECT_TRUE(logged.contains("[Fenlo] Meeting chunk triggered (max interval, 10.0s)"));
    EXPECT_TRUE(logged.contains("[Fenlo] Meeting segment 2 [Speaker 1]: 'Words of chunk 2'"));
    EXPECT_NEAR(meetings->segments()[1].timestamp, 20, 0.2);
    EXPECT_NEAR(meetings->elapsedTime(), 31.2, 0.1);
    EXPECT_GT(meetings->audioLevel(), 0.5F);
    EXPECT_TRUE(contains(meetings->transcriptText(), "Subject: Budget\n\n[0:10] Speaker 1: Words of chunk 0\n\n"));
    control->stop();
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_TRUE(logged.contains("[Fenlo] Meeting mode stopped — 3 segments, 0:31"));
    EXPECT_EQ(recorded.segments, 3);
    EXPECT_NEAR(recorded.duration, 31.2, 0.1);
}

TEST_F(MeetingSession, TranscriptionModeCutsFastAndHasOneSpeaker) {
    const test::LogCapture logged;
    meetings->setMeetingMode(MeetingMode::transcription);
    start();
    speak(4.2);
    work();
    EXPECT_TRUE(logged.contains("[Fenlo] Transcription mode started"));
    EXPECT_TRUE(logged.contains("[Fenlo] Meeting chunk triggered (max interval, 2.0s)"));
    ASSERT_EQ(meetings->segments().size(), 2U);
    EXPECT_EQ(meetings->segments()[0].speaker.initial, "A");
    control->stop();
    work();
    EXPECT_FALSE(meetings->isEnhancing());
}

TEST_F(MeetingSession, FileOfTheStopLacksTheLastWords_ThenTheyCome) {
    start();
    sentence();
    speak(1);
    control->stop();
    // Nothing of the final chunk can be known yet.
    EXPECT_EQ(archive.load().at(0).segments.size(), 1U);
    EXPECT_EQ(recorded.segments, 1);
    EXPECT_EQ(meetings->pendingChunks(), 1);
    EXPECT_TRUE(contains(filed(), "Words of chunk 1"));
    EXPECT_EQ(unfinished(), 0U);
    ASSERT_EQ(meetings->pastMeetings().size(), 1U);
    EXPECT_EQ(withSegments(meetings->pastMeetings()[0]).segments.size(), 2U);
    EXPECT_EQ(meetings->sessionFile(), folder / meetings->pastMeetings()[0].id);
}

TEST_F(MeetingSession, StopAtOnceKeepsNoFile) {
    const test::LogCapture logged;
    start();
    control->stop();
    work();
    EXPECT_TRUE(logged.contains("[Fenlo] Final chunk was empty, skipping"));
    EXPECT_TRUE(archive.load().empty());
    EXPECT_EQ(unfinished(), 0U);
    EXPECT_FALSE(meetings->isEnhancing());
    control->stop();
    EXPECT_EQ(syncs, 1);
}

TEST_F(MeetingSession, LowValueAndFailedChunksLeaveHolesInTheNumbers) {
    const test::LogCapture logged;
    hear = [](int number) { return number == 0 ? "Thank you." : "Uh, words of chunk " + std::to_string(number); };
    start();
    sentence();
    sentence();
    EXPECT_EQ(texts(), (Texts{"words of chunk 1"}));
    EXPECT_EQ(meetings->segments()[0].index, 1);
    EXPECT_TRUE(logged.contains("[Fenlo] Meeting chunk 0 was silent/hallucination, skipping"));
}

TEST_F(MeetingSession, FailedChunkIsTriedAgain_AndReadersSortByIndex) {
    const test::LogCapture logged;
    fail({0});
    start();
    sentence();
    EXPECT_TRUE(logged.contains("[Fenlo] ERROR: Meeting chunk 0 transcription failed: away"));
    EXPECT_EQ(meetings->pendingChunks(), 1);
    failing.clear();
    workers->runAll();
    sentence();
    EXPECT_EQ(meetings->segments().size(), 2U);
    EXPECT_EQ(meetings->pendingChunks(), 0);
    control->stop();
    const std::string text = filed();
    EXPECT_LT(text.find("chunk 0"), text.find("chunk 1"));
}

TEST_F(MeetingSession, OutageOfTheServiceLosesNothing) {
    fail({});
    start();
    sentence();
    isDown = true;
    for (int i = 0; i < 20; ++i)
        sentence();
    EXPECT_EQ(texts().size(), 1U);
    EXPECT_EQ(meetings->pendingChunks(), 20);
    EXPECT_FALSE(meetings->trouble().empty());
    EXPECT_LT(asked.size(), 30U); // one chunk at a time asks
    isDown = false;
    asked.clear();
    pass(61);
    ASSERT_GT(texts().size(), 21U);
    EXPECT_EQ(texts().size(), static_cast<std::size_t>(meetings->segments().back().index) + 1);
    EXPECT_EQ(meetings->pendingChunks(), 0);
    EXPECT_TRUE(std::is_sorted(asked.begin() + 1, asked.end())); // the first one only tried
    EXPECT_EQ(meetings->trouble(), "");
    EXPECT_EQ(meetings->lostChunks(), 0);
}

TEST_F(MeetingSession, ChunkThatNoServiceTakesIsToldAndItsSoundKept) {
    const test::LogCapture logged;
    fail({1});
    start();
    for (int i = 0; i < 40; ++i)
        sentence();
    EXPECT_EQ(meetings->lostChunks(), 1);
    EXPECT_EQ(meetings->segments().size(), 39U);
    EXPECT_TRUE(logged.containsPrefix("[Fenlo] ERROR: Meeting chunk 1 was not recognised; its sound is kept as "));
    EXPECT_FALSE(std::filesystem::is_empty(folder / "unrecognised"));
    control->stop();
    work();
    EXPECT_EQ(unfinished(), 0U);
    // It goes with its meeting.
    meetings->deletePastMeeting(archive.load().at(0).id);
    work();
    EXPECT_TRUE(std::filesystem::is_empty(folder / "unrecognised"));
}

TEST_F(MeetingSession, UnrecognisedSoundIsDeletedAfterAMonth) {
    const auto place = folder / "unrecognised";
    std::filesystem::create_directories(place);
    const auto put = [&](const char* name, int days) {
        std::ofstream(place / name) << "sound";
        std::filesystem::last_write_time(place / name,
                                         std::chrono::file_clock::from_sys(clock.wallTime()) - std::chrono::days(days));
    };
    put("running_2026-09-01_10-00-00-3.wav", 32);
    put("running_2026-10-20_10-00-00-3.wav", 30);
    put("of-the-user.wav", 400);
    meetings->recoverMeetings();
    work();
    EXPECT_FALSE(std::filesystem::exists(place / "running_2026-09-01_10-00-00-3.wav"));
    EXPECT_TRUE(std::filesystem::exists(place / "running_2026-10-20_10-00-00-3.wav"));
    EXPECT_TRUE(std::filesystem::exists(place / "of-the-user.wav"));
}

TEST_F(MeetingSession, MutedMicrophoneIsNotSentAndAWhisperIs) {
    const test::LogCapture logged;
    fail({});
    start();
    const auto hearAll = [this](float level) {
        for (int i = 0; i < 40; ++i) {
            audioInput.hear(std::vector<float>(1600, level));
            mainQueue.advance(0.1);
        }
        work();
    };
    hearAll(0);
    EXPECT_TRUE(asked.empty());
    EXPECT_TRUE(logged.contains("[Fenlo] Meeting chunk 0 was silent/hallucination, skipping"));
    EXPECT_EQ(meetings->pendingChunks(), 0);
    hearAll(3e-5F); // one step of sixteen bits
    EXPECT_FALSE(asked.empty());
}

TEST_F(MeetingSession, HungSoundServerHoldsUpNoTick) {
    audioInput.microphone.whileStarting = [this] { clock.sleep(1.5); };
    audioInput.microphone.startErrors = {"hangs", "hangs", "hangs"};
    control->start();
    for (int i = 0; i < 10; ++i) {
        const double before = clock.slept;
        mainQueue.advance(1);
        EXPECT_EQ(clock.slept, before) << "the main thread waits for nobody";
        work();
    }
    sentence();
    EXPECT_EQ(meetings->trouble(), "");
    EXPECT_FALSE(texts().empty());
}

TEST_F(MeetingSession, EndInAnOutageIsMadeGoodByTheNextStart) {
    fail({});
    start();
    sentence();
    isDown = true;
    sentence();
    control->stop();
    pass(700);
    EXPECT_EQ(meetings->postponedChunks(), 2); // with what came after the last cut
    EXPECT_EQ(meetings->lostChunks(), 0) << "they may still be heard";
    EXPECT_FALSE(contains(filed(), "chunk 1"));
    EXPECT_EQ(unfinished(), 1U);
    meetings->nameSpeaker(0, "Ann");
    pass(2);
    restart();
    isDown = false;
    meetings->recoverMeetings();
    work();
    EXPECT_TRUE(contains(filed(), "chunk 1"));
    EXPECT_TRUE(contains(filed(), "Ann:**"));
    EXPECT_EQ(unfinished(), 0U);
    EXPECT_EQ(recovered, 1);
    EXPECT_TRUE(meetings->segments().empty()); // what is shown is another session's
}

TEST_F(MeetingSession, EndInAnOutageIsMadeGoodByAProgramThatRunsOn) {
    fail({});
    isDown = true;
    start();
    sentence();
    control->stop();
    meetings->newSession();
    pass(700);
    EXPECT_TRUE(archive.load().empty());
    const auto passHour = [this] {
        for (int i = 0; i < 360; ++i) {
            mainQueue.advance(10);
            work();
        }
    };
    passHour();
    EXPECT_EQ(unfinished(), 1U);
    isDown = false;
    passHour();
    EXPECT_TRUE(contains(filed(), "chunk 0"));
    EXPECT_EQ(unfinished(), 0U);
}

TEST_F(MeetingSession, KilledProgramLosesOnlyWhatWasNotCut) {
    test::TemporaryFolder copies;
    int copy = 0;
    const auto look = [&](std::size_t cut) {
        const std::filesystem::path place = copies / std::to_string(copy++);
        std::filesystem::copy(folder.path, place, std::filesystem::copy_options::recursive);
        MeetingArchive rest(place);
        test::ManualBackground its;
        MeetingModeController next(services(rest, its));
        next.recoverMeetings();
        for (int i = 0; i < 5; ++i) {
            its.runAll();
            mainQueue.runPosted();
        }
        const auto all = rest.load();
        ASSERT_EQ(all.size(), cut > 0 ? 1U : 0U) << "copy " << copy;
        if (cut > 0) {
            EXPECT_EQ(all[0].segments.size(), cut) << "copy " << copy;
            EXPECT_EQ(all[0].userNotes, meetings->userNotes());
        }
    };
    start();
    meetings->setUserNotes("typed");
    work();
    speak(3);
    quiet(1.5); // cut, but nobody has worked on it
    workers->runAll();
    look(1); // a file
    work();
    look(1); // with words
    sentence();
    meetings->setUserNotes("typed more");
    work();
    look(2);
    speak(1);
    control->stop();
    workers->runAll(); // the last chunk is a file
    look(3);
    work();
    look(3);
}

TEST_F(MeetingSession, QuitKeepsTheLastChunkForTheNextStart) {
    hear = [](int) -> std::string { throw TranscriberError(TranscriberError::Kind::networkError, "not now"); };
    start();
    sentence();
    speak(1);
    control->stop(); // the workers end with what they have begun
    workers->runAll();
    restart();
    hear = [](int number) { return "Late words of " + std::to_string(number); };
    meetings->recoverMeetings();
    work();
    const std::string text = filed();
    EXPECT_TRUE(contains(text, "Late words of 0"));
    EXPECT_TRUE(contains(text, "Late words of 1"));
}

TEST_F(MeetingSession, NotesThatTheQuitCutOffAreMadeByTheNextStart) {
    answerNotes("TITLE: Plans\n\nSUMMARY:\nAll is planned.");
    start();
    sentence();
    control->stopForQuit();
    EXPECT_FALSE(meetings->isEnhancing());
    work();
    EXPECT_TRUE(http.requests.empty()) << "nothing is begun that would be thrown away";
    EXPECT_EQ(unfinished(), 1U);
    config.update([](Settings& settings) { settings.offlineMode = true; });
    const auto startAgain = [this] {
        restart();
        meetings->recoverMeetings();
        work();
    };
    startAgain();
    EXPECT_TRUE(http.requests.empty()) << "offline mode is for notes too";
    EXPECT_EQ(unfinished(), 1U);

    config.update([](Settings& settings) { settings.offlineMode = false; });
    int refusals = 2;
    const auto answer = http.onSend;
    http.onSend = [&](const HttpRequest& request) {
        return refusals-- > 0 ? HttpResponse{503, {}, ""} : answer(request);
    };
    startAgain();
    EXPECT_FALSE(contains(filed(), "All is planned."));
    pass(61);
    EXPECT_EQ(recoveredNotes, 0);
    startAgain();
    EXPECT_TRUE(contains(filed(), "All is planned."));
    EXPECT_EQ(recoveredNotes, 1);
    EXPECT_EQ(recovered, 0) << "the meeting itself was complete";
    EXPECT_EQ(unfinished(), 0U);
    const std::size_t requests = http.requests.size();
    startAgain();
    EXPECT_EQ(http.requests.size(), requests);
}

TEST_F(MeetingSession, NotesOfAKilledMeetingAreAskedForAFewTimesOnly) {
    answerNotes("TITLE: Plans\n\nSUMMARY:\nAll is planned.");
    const auto answer = http.onSend;
    http.onSend = [](const HttpRequest&) { return HttpResponse{503, {}, ""}; };
    start();
    sentence();
    restart();
    meetings->recoverMeetings();
    work();
    EXPECT_EQ(recovered, 1);
    EXPECT_EQ(unfinished(), 1U);
    pass(2000);
    EXPECT_EQ(http.requests.size(), 5U);
    EXPECT_EQ(unfinished(), 0U);

    start(); // and notes that the user had made are not made anew
    sentence();
    control->stopForQuit();
    work();
    http.onSend = answer;
    EnhancedMeetingNotes own;
    own.summary = "By hand.";
    archive.saveNotes(archive.load().at(0).id, own);
    restart();
    meetings->recoverMeetings();
    work();
    EXPECT_EQ(archive.load().at(0).enhancedNotes->summary, "By hand.");
    EXPECT_EQ(unfinished(), 0U);
}

TEST_F(MeetingSession, RecoveryThatIsCutShortFilesTheMeetingOnce) {
    start();
    sentence();
    fail({1});
    sentence();
    restart();
    meetings->recoverMeetings();
    work();
    EXPECT_TRUE(contains(filed(), "chunk 0"));
    EXPECT_EQ(unfinished(), 1U);
    restart();
    failing.clear();
    meetings->recoverMeetings();
    work();
    EXPECT_TRUE(contains(filed(), "chunk 1"));
    // Without a key its notes stay due, and the file is the user's by now.
    EXPECT_EQ(unfinished(), 1U);
    const auto file = archive.fileOf(archive.load().at(0).id);
    std::ofstream(file, std::ios::app) << "edited by hand\n";
    restart();
    meetings->recoverMeetings();
    work();
    EXPECT_TRUE(contains(filed(), "edited by hand"));
    clock.advance(8 * 24 * 3600.0); // nobody expects them any more
    restart();
    meetings->recoverMeetings();
    work();
    EXPECT_EQ(unfinished(), 0U);
    EXPECT_TRUE(contains(filed(), "edited by hand"));
}

TEST_F(MeetingSession, SecondMeetingLeavesTheFirstItsLateWords) {
    fail({1});
    meetings->setSubject("First");
    start();
    sentence();
    sentence();
    control->stop();
    work();
    pass(2); // their files bear the second of their start
    meetings->newSession();
    meetings->setSubject("Second");
    start();
    EXPECT_TRUE(meetings->segments().empty());
    failing.clear();
    sentence();
    EXPECT_EQ(texts(), (Texts{"Words of chunk 0"}));
    pass(5);
    control->stop();
    work();
    const auto all = archive.load();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[1].subject, "First");
    EXPECT_TRUE(contains(all[1].content, "chunk 1"));
    EXPECT_EQ(unfinished(), 0U);
}

TEST_F(MeetingSession, DeletedMeetingDoesNotComeBackWithItsLateWords) {
    answerNotes("TITLE: Plans\n\nSUMMARY:\nAll is planned.");
    fail({1});
    start();
    sentence();
    sentence();
    control->stop();
    work();
    meetings->newSession();
    meetings->deletePastMeeting(archive.load().at(0).id);
    failing.clear();
    pass(90);
    EXPECT_TRUE(archive.load().empty());
    EXPECT_EQ(unfinished(), 0U);
    EXPECT_TRUE(http.requests.empty()); // no language model reads it
}

TEST_F(MeetingSession, NotesWaitForTheLastWordsAndGoIntoTheFile) {
    answerNotes("TITLE: Plans\n\nSUMMARY:\nAll is planned.\n\nRISKS:\n- Rain");
    start();
    sentence();
    speak(1);
    control->stop();
    EXPECT_TRUE(meetings->isEnhancing());
    EXPECT_TRUE(http.requests.empty());
    work();
    ASSERT_TRUE(meetings->enhancedNotes());
    EXPECT_FALSE(meetings->isEnhancing());
    ASSERT_EQ(http.requests.size(), 1U);
    EXPECT_TRUE(contains(http.requests[0].body, "Words of chunk 1"));
    const std::string text = filed();
    EXPECT_TRUE(contains(text, "## Summary\n\nAll is planned."));
    EXPECT_TRUE(contains(text, "- Rain"));
    EXPECT_TRUE(contains(text, "Words of chunk 1"));
}

TEST_F(MeetingSession, NotesOfASessionThatWasLeftGoIntoItsFileOnly) {
    answerNotes("TITLE: Plans\n\nSUMMARY:\nAll is planned.");
    fail({1});
    start();
    sentence();
    sentence();
    control->stop();
    work();
    EXPECT_TRUE(meetings->isEnhancing());
    meetings->newSession();
    EXPECT_FALSE(meetings->isEnhancing());
    failing.clear();
    pass(90);
    EXPECT_FALSE(meetings->enhancedNotes());
    EXPECT_TRUE(contains(filed(), "All is planned."));
}

TEST_F(MeetingSession, RefinedNotesStayWithTheirMeeting) {
    answerNotes("TITLE: Plans\n\nSUMMARY:\nAll is planned.");
    start();
    sentence();
    control->stop();
    work();
    answerNotes("TITLE: Plans\n\nSUMMARY:\nShorter.");
    std::optional<bool> isForCaller;
    meetings->refineNotes(*meetings->enhancedNotes(), "shorter", std::nullopt,
                          [&](const auto& result) { isForCaller = result.notes.has_value(); });
    meetings->newSession();
    start(); // before the answer
    sentence();
    EXPECT_EQ(isForCaller, false);
    EXPECT_FALSE(meetings->enhancedNotes());
    http.onSend = [](const HttpRequest&) { return HttpResponse{500, {}, ""}; };
    control->stop();
    pass(2);
    const auto all = archive.load();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_TRUE(contains(all[1].content, "Shorter."));
    EXPECT_FALSE(all[0].enhancedNotes);
}

TEST_F(MeetingSession, NotesThatTheUserMailsAreNotMailedOnceMore) {
    int mails = 0;
    delivery = std::make_unique<MeetingDelivery>(
        MeetingDelivery::Services{keychain, writer, clock, [&](const auto&, const auto&) { return ++mails > 0; }});
    restart();
    keychain.save("google_user_email", "me@example.org");
    answerNotes("TITLE: Plans\n\nSUMMARY:\nAll is planned.");
    start();
    sentence();
    control->stop();
    work();
    EXPECT_EQ(meetings->autoSendCountdown(), 60);
    pass(61);
    EXPECT_EQ(mails, 1);
    EXPECT_TRUE(meetings->autoSendCompleted());

    bool isSent = false;
    const auto watch = meetings->watch([&] { // as soon as there are notes, before anybody has asked who is signed in
        if (meetings->enhancedNotes() && !meetings->isActive() && !std::exchange(isSent, true)) {
            meetings->cancelAutoSend();
            meetings->sendEnhancedNotesEmail([](const auto&) {});
        }
    });
    start();
    sentence();
    control->stop();
    work();
    EXPECT_TRUE(isSent);
    pass(90);
    EXPECT_EQ(mails, 2);
}

TEST_F(MeetingSession, MissingNotesAreExplained) {
    start();
    sentence();
    control->stop();
    work();
    EXPECT_FALSE(meetings->isEnhancing());
    EXPECT_FALSE(meetings->enhancedNotes());
    EXPECT_FALSE(meetings->notesFault().empty());
    EXPECT_EQ(meetings->notesHindrance(), NotesHindrance::noKey);
}

TEST_F(MeetingSession, WhatIsNamedAndMarkedAfterTheEndReachesTheFile) {
    start();
    sentence();
    control->stop();
    work();
    meetings->nameSpeaker(0, " Ann ");
    meetings->toggleBookmark(0);
    pass(2);
    const std::string text = filed();
    EXPECT_TRUE(contains(text, "Ann:** \u2B50 Words") || contains(text, "Ann:** \u2B50 Words of chunk 0")) << text;
}

TEST_F(MeetingSession, NextSubjectIsNotThatOfAMeetingWithoutWords) {
    meetings->setSubject("First");
    start();
    meetings->setUserNotes("typed");
    control->stop();
    work();
    meetings->setSubject("Second");
    pass(2);
    ASSERT_EQ(archive.load().size(), 1U);
    EXPECT_EQ(archive.load()[0].subject, "First");
}

TEST_F(MeetingSession, ComputersSoundIsMixedIn_AndItsFailureTold) {
    const test::LogCapture logged;
    computer.error = "no monitor";
    meetings->setCaptureSystemAudio(true);
    start();
    work();
    EXPECT_TRUE(logged.contains("[Fenlo] Meeting mode started (with system audio)"));
    EXPECT_TRUE(logged.contains("[Fenlo] ERROR: System audio capture failed: no monitor"));
    EXPECT_FALSE(meetings->captureSystemAudio());
    EXPECT_TRUE(contains(meetings->trouble(), "no monitor"));
    sentence();
    EXPECT_EQ(texts().size(), 1U);
    control->stop();
    work();

    computer.error.clear();
    meetings->setCaptureSystemAudio(true);
    start();
    work();
    EXPECT_TRUE(computer.isOpen());
    computer.hear(std::vector<float>(48000, 0.1F)); // and the microphone has not delivered yet
    control->stop();
    EXPECT_FALSE(computer.isOpen());
    work();
    EXPECT_EQ(texts().size(), 1U);
}

TEST_F(MeetingSession, MicrophoneThatComesLateIsTaken) {
    audioInput.microphone.startErrors = {"busy", "busy", "busy", "busy"};
    start();
    EXPECT_FALSE(meetings->trouble().empty());
    pass(7);
    sentence();
    EXPECT_EQ(meetings->trouble(), "");
    EXPECT_FALSE(texts().empty());
}

TEST_F(MeetingSession, DictationAndMeetingExcludeEachOther) {
    const test::LogCapture logged;
    session.hotkeyPressed();
    start();
    EXPECT_FALSE(meetings->isActive());
    EXPECT_FALSE(meetings->refusal().empty());
    session.hotkeyReleased();
    finish();
    start();
    EXPECT_TRUE(meetings->isActive());
    EXPECT_EQ(meetings->refusal(), "");
    control->refuseDictation();
    EXPECT_EQ(pillText(), "No dictation in a meeting");
    mainQueue.advance(2.6);
    EXPECT_EQ(pillText(), "0:02");
}

TEST_F(MeetingSession, ShowsItselfInTrayAndPill) {
    start();
    EXPECT_EQ(face(), IconFace::recording);
    speak(2.5);
    EXPECT_EQ(pillText(), "0:02");
    EXPECT_EQ(meetings->status().value().segments, 0);
    control->stop();
    EXPECT_EQ(face(), IconFace::idle);
    EXPECT_EQ(pillText(), "");
    EXPECT_FALSE(meetings->status());
    mainQueue.advance(10);
    EXPECT_EQ(pillText(), "");
}

TEST_F(MeetingSession, EngineThatIsBeingLoadedIsWaitedFor) {
    isReady = false;
    start();
    sentence();
    EXPECT_TRUE(texts().empty());
    EXPECT_EQ(meetings->trouble(), "The engine is being loaded");
    isReady = true;
    pass(2);
    EXPECT_EQ(meetings->trouble(), "");
    EXPECT_EQ(texts().size(), 1U);
}

TEST_F(MeetingSession, FullDiskIsToldAndTheMeetingWrittenWhenThereIsRoom) {
    start();
    sentence();
    {
        const test::ScarceDisk none(0);
        sentence();
        EXPECT_EQ(meetings->lostChunks(), 0);
        EXPECT_TRUE(contains(meetings->trouble(), "what is said waits in memory")) << meetings->trouble();
        control->stop();
        work();
        EXPECT_TRUE(archive.load().empty());
        EXPECT_FALSE(meetings->trouble().empty());
        EXPECT_EQ(unfinished(), 1U);
    }
    pass(40);
    EXPECT_TRUE(contains(filed(), "Words of chunk 0"));
    EXPECT_TRUE(contains(filed(), "Words of chunk 1")) << "said while no disk had room";
    EXPECT_EQ(meetings->trouble(), "");
    EXPECT_EQ(unfinished(), 0U);
}

TEST_F(MeetingSession, NewestSearchWins) {
    for (const char* subject : {"Budget", "Release"}) {
        MeetingRecord record;
        record.date = clock.wallTime() + std::chrono::seconds(subject[0]);
        record.subject = subject;
        record.segments = {{"", 0, 5, std::string("We spoke of the ") + subject, speakerAt(0)}};
        archive.saveNew(record);
    }
    meetings->loadPastMeetings();
    work();
    int told = 0;
    const auto watch = meetings->watchArchive([&] { ++told; });
    meetings->setSearchQuery("spoke");
    meetings->setSearchQuery(" RELEASE");
    EXPECT_EQ(meetings->filteredPastMeetings().size(), 2U) << "until a worker has looked";
    work();
    ASSERT_EQ(meetings->filteredPastMeetings().size(), 1U);
    EXPECT_EQ(meetings->searchSnippet(*meetings->filteredPastMeetings()[0]),
              "**[0:05] Speaker 1:** We spoke of the Release");
    EXPECT_EQ(told, 3) << "the search that nobody waits for any more is not told";
    meetings->setSearchQuery("");
    EXPECT_EQ(meetings->filteredPastMeetings().size(), 2U);
    EXPECT_EQ(meetings->searchSnippet(meetings->pastMeetings()[0]), std::nullopt);
}

TEST_F(MeetingSession, MemoryIsFlatOverEightHours) {
    if (test::isSanitized)
        GTEST_SKIP() << "freed memory is kept here";
    // One buffer of sound for each chunk: what comes of it is the same, and the test stays short.
    std::vector<float> sound(4096, 0.1F);
    config.update([](Settings& settings) { settings.showOverlay = false; });
    start();
    std::size_t afterAnHour = 0;
    for (int chunk = 0; chunk < 8 * 360; ++chunk) {
        audioInput.hear(sound);
        mainQueue.advance(10.04);
        work();
        if (chunk == 360)
            afterAnHour = residentKilobytes();
    }
    EXPECT_NEAR(meetings->elapsedTime(), 8 * 3600, 300);
    EXPECT_GT(meetings->segments().size(), 2800U);
    EXPECT_EQ(meetings->pendingChunks(), 0);
    const int grown = static_cast<int>(residentKilobytes()) - static_cast<int>(afterAnHour);
    RecordProperty("grown_kilobytes", grown);
    EXPECT_LT(grown, 8000);
    control->stop();
    EXPECT_GT(archive.load().at(0).segments.size(), 2800U);
}
