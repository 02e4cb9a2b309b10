#include "shell/OverlayWindow.h"
#include "base/Files.h"
#include "settings/Config.h"
#include "shell/PillStyle.h"
#include "support/FakeDesktop.h"
#include "support/FakeKeyEvents.h"
#include "support/FakeShell.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;
using State = test::PillRecord::State;

namespace {

class Overlay : public ::testing::Test {
protected:
    void run() { queue.runPosted(); }
    test::PillRecord& pill() { return pills.last(); }
    const PillPicture::Oval& dot() { return pill().picture.ovals.at(2); }
    std::string line() { return pill().line(); }

    test::VirtualClock clock;
    test::VirtualMainQueue queue{clock};
    Config config{files::temporaryFile("config", ".json"), clock};
    test::FakePillWindows pills;
    test::FakeResultCards cards;
    test::FakeKeyEvents keys;
    test::FakeWorkspace workspace;
    std::vector<std::string> copied;
    OverlayWindow overlay{{config, clock, queue, pills, cards, keys, workspace,
                           [this](const std::string& text) { copied.push_back(text); }}};
};

} // namespace

TEST_F(Overlay, RecordingCountsTheSecondsInTheBasePill) {
    overlay.showRecording(false, "");
    EXPECT_TRUE(pills.records.empty()) << "the work is done on the main queue";
    run();
    EXPECT_EQ(pill().state, State::shown);
    EXPECT_EQ(pill().width, 98);
    EXPECT_EQ(pill().lastAnimation, 0.1);
    EXPECT_EQ(line(), "0.00s");
    EXPECT_EQ(dot().colour, pillStyle::recordingDot);
    queue.advance(1.25);
    EXPECT_EQ(line(), "1.23s") << "37 frames of 1/30 s";
    EXPECT_EQ(pill().pictures, 1 + 37);
    EXPECT_EQ(dot().colour.alpha, 1.0) << "does not pulse";
    EXPECT_EQ(pill().picture.texts[0].colour, (Colour{1, 1, 1, 0.8}));
}

TEST_F(Overlay, EachBadgeAddsItsWidth) {
    config.update([](Settings& s) {
        s.language = "de";
        s.offlineMode = true;
    });
    overlay.showRecording(true, "Slack");
    run();
    EXPECT_EQ(line(), "Slack|Replace|Offline Mode|DE|0.00s");
    EXPECT_EQ(pill().width, 98 + (5 * 8 + 15) + (7 * 8 + 15) + (12 * 8 + 15) + (2 * 8 + 15));
}

TEST_F(Overlay, TheLabelIsLeftOutWhereItTellsNothing) {
    for (const char* language : {"en", "auto"}) {
        config.update([language](Settings& s) { s.language = language; });
        overlay.showRecording(false, "Fenlo");
        run();
        EXPECT_EQ(line(), "0.00s") << "its own windows have no label";
        EXPECT_EQ(pill().width, 98);
    }
    config.update([](Settings& s) { s.showAppInPill = false; });
    overlay.showRecording(false, "Slack");
    run();
    EXPECT_EQ(line(), "0.00s");
}

TEST_F(Overlay, WarmingPulsesAndIsReplacedByRecording) {
    config.update([](Settings& s) {
        s.language = "de";
        s.offlineMode = true;
    });
    overlay.showWarming(true, "Slack");
    run();
    EXPECT_EQ(line(), "Slack|Replace|Warming up") << "no offline and language badges yet";
    EXPECT_EQ(pill().width, 98 + 55 + 71 + (10 * 8 - 5 * 10));
    EXPECT_EQ(dot().colour, pillStyle::processingDot);
    queue.advance(0.1001);
    EXPECT_NEAR(dot().colour.alpha, 1 - 3 * 0.035, 1e-9);
    EXPECT_EQ(line(), "Slack|Replace|Warming up");

    overlay.showRecording(true, "Slack");
    run();
    EXPECT_EQ(pills.records.size(), 2u);
    EXPECT_EQ(pills.records[0]->state, State::gone);
    queue.advance(0.5001);
    EXPECT_EQ(line(), "Slack|Replace|Offline Mode|DE|0.50s") << "the wake-up time is not counted";
}

TEST_F(Overlay, ThePulseTurnsAtItsEnds) {
    overlay.showWarming(false, "");
    run();
    double lowest = 1, highest = 0;
    for (int frame = 0; frame < 120; ++frame) {
        queue.advance(1.0 / 30);
        lowest = std::min(lowest, dot().colour.alpha);
        if (frame > 30)
            highest = std::max(highest, dot().colour.alpha);
    }
    EXPECT_NEAR(lowest, 0.3, 0.035);
    EXPECT_GE(lowest, 0.26);
    EXPECT_EQ(highest, 1.0);
}

TEST_F(Overlay, ProcessingFreezesTheLengthOfTheTake) {
    overlay.showRecording(false, "");
    queue.advance(2.5);
    overlay.showProcessing();
    queue.advance(1.0);
    EXPECT_EQ(line(), "2.50s");
    EXPECT_EQ(pill().picture.texts[0].colour, (Colour{1, 1, 1, 0.35}));
    EXPECT_EQ(dot().colour.green, 0.72);
    EXPECT_LT(dot().colour.alpha, 1.0) << "pulses";
    EXPECT_EQ(pills.records.size(), 1u) << "in the same window";
}

TEST_F(Overlay, ASlowJobOffersToStopAfterThreeSeconds) {
    int cancelled = 0;
    overlay.onCancel = [&] { ++cancelled; };
    overlay.showRecording(false, "");
    queue.advance(1.0);
    overlay.showProcessing();
    queue.advance(2.99);
    EXPECT_EQ(line(), "1.00s");
    EXPECT_EQ(pill().width, 98);
    EXPECT_FALSE(pill().onMouseDown) << "clicks go through";
    queue.advance(0.07); // at most two frames later
    EXPECT_EQ(line(), "1.00s|tap to stop");
    EXPECT_EQ(pill().width, 180);
    EXPECT_GT(pill().lastAnimation, 0) << "animated";
    ASSERT_TRUE(pill().onMouseDown);
    pill().onMouseDown();
    EXPECT_EQ(cancelled, 1);
    const double animated = pill().lastAnimation;
    queue.advance(10);
    EXPECT_EQ(pill().lastAnimation, animated) << "made once only";
}

TEST_F(Overlay, AWidePillGrowsByTheRoomOfTheOffer) {
    overlay.showRecording(true, "Slack");
    overlay.showProcessing();
    queue.advance(3.1);
    EXPECT_EQ(pill().width, 98 + 55 + 71 + 75);
}

TEST_F(Overlay, ChunksShowTheirProgressAndKeepTheOffer) {
    overlay.showRecording(false, "");
    queue.advance(1.0);
    overlay.showProcessing();
    overlay.showChunkProgress(1, 12);
    run();
    EXPECT_EQ(line(), "Transcribing 1/12...");
    EXPECT_EQ(pill().picture.texts[0].colour, (Colour{1, 1, 1, 0.8}));
    const double fitted = pill().width;
    EXPECT_GE(fitted, 33 + 20 * 10) << "the text fits";
    queue.advance(2.0);
    overlay.showChunkProgress(2, 12);
    queue.advance(0.9);
    EXPECT_EQ(line(), "Transcribing 2/12...");
    queue.advance(0.2);
    EXPECT_EQ(line(), "Transcribing 2/12...|tap to stop") << "3 s after processing began, not after the last chunk";
    EXPECT_EQ(pill().width, fitted + 75);
    overlay.showChunkProgress(10, 12);
    run();
    EXPECT_EQ(line(), "Transcribing 10/12...|tap to stop");
    EXPECT_EQ(pill().width, fitted + 10 + 75);
}

TEST_F(Overlay, CommandModeAddsItsBadge) {
    overlay.showRecording(false, "Slack");
    overlay.showCommandMode();
    overlay.showCommandMode();
    run();
    EXPECT_EQ(line(), "AI|Slack|0.00s");
    EXPECT_EQ(pill().width, 98 + 55 + 31);
    EXPECT_EQ(dot().colour, pillStyle::commandDot);
    overlay.showRecording(false, "Slack");
    run();
    EXPECT_EQ(line(), "Slack|0.00s");
}

TEST_F(Overlay, AClockThatOutgrowsItsPillWidensIt) {
    overlay.showRecording(false, "");
    queue.advance(1000);
    EXPECT_GE(pill().width, 33 + 8 * 10);
}

TEST_F(Overlay, HideFadesTheOldWindowWhileANewOneShows) {
    overlay.showRecording(false, "");
    queue.advance(1);
    const int drawn = pill().pictures;
    overlay.hide();
    overlay.showRecording(false, "Slack");
    run();
    ASSERT_EQ(pills.records.size(), 2u);
    EXPECT_EQ(pills.records[0]->state, State::fadedOut);
    EXPECT_EQ(pills.records[1]->state, State::shown);
    queue.advance(1);
    EXPECT_EQ(pills.records[0]->pictures, drawn) << "the old one stands still";
}

TEST_F(Overlay, WhatComesAfterHideShowsNothing) {
    overlay.hide();
    overlay.showRecording(false, "");
    overlay.hide();
    overlay.showProcessing();
    overlay.showChunkProgress(1, 2);
    overlay.showCommandMode();
    overlay.updateMeetingTime(3);
    queue.advance(5);
    EXPECT_EQ(pills.records.size(), 1u);
    EXPECT_FALSE(pills.isShown());
}

TEST_F(Overlay, MeetingShowsItsClock) {
    overlay.showMeeting();
    overlay.updateMeetingTime(4505.7);
    run();
    EXPECT_EQ(line(), "75:05");
    EXPECT_EQ(pill().width, 98);
    queue.advance(0.5);
    EXPECT_LT(dot().colour.alpha, 1.0);
}

TEST_F(Overlay, TheCardTakesThePlaceOfThePill) {
    overlay.showRecording(false, "");
    overlay.showResult("See https://a.example.");
    run();
    EXPECT_EQ(pills.records[0]->state, State::gone);
    EXPECT_TRUE(cards.isShown());
    EXPECT_EQ(cards.measuredWidth, 356);
    EXPECT_EQ(cards.width, 400);
    EXPECT_EQ(cards.height, 16 + 120);
    ASSERT_EQ(cards.content.parts.size(), 3u);
    EXPECT_EQ(cards.content.parts[1], (TextPart{TextPart::Kind::link, "https://a.example"}));

    cards.content.onLink("https://a.example");
    EXPECT_EQ(workspace.opened, std::vector<std::string>{"https://a.example"});
    cards.content.onCopy();
    EXPECT_EQ(copied, std::vector<std::string>{"See https://a.example."});
    EXPECT_TRUE(cards.isCopied);
    cards.content.onDismiss();
    run();
    EXPECT_FALSE(cards.isShown());
}

TEST_F(Overlay, ALongAnswerGetsTheHighestCard) {
    overlay.showResult(std::string(100, '\n'));
    run();
    EXPECT_EQ(cards.height, 480);
}

TEST_F(Overlay, AClickOutsideClosesTheCardAndOneInsideDoesNot) {
    overlay.showResult("Answer");
    run();
    ASSERT_TRUE(keys.mouseDown);
    keys.mouseDown({399, 20});
    run();
    EXPECT_TRUE(cards.isShown());
    keys.mouseDown({401, 20});
    run();
    EXPECT_FALSE(cards.isShown());
    EXPECT_FALSE(keys.mouseDown) << "nobody listens any more";

    overlay.showResult("Answer");
    overlay.showRecording(false, "");
    run();
    EXPECT_FALSE(cards.isShown());
    EXPECT_FALSE(keys.mouseDown);
}

TEST_F(Overlay, DiesWithWorkStillQueued) {
    {
        OverlayWindow other({config, clock, queue, pills, cards, keys, workspace, [](const std::string&) {}});
        other.showRecording(false, "");
        run();
        other.showProcessing();
        other.hide();
    }
    queue.advance(1);
    EXPECT_FALSE(pills.isShown());
}
