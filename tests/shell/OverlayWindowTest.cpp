#include "shell/OverlayWindow.h"
#include "base/Files.h"
#include "settings/Config.h"
#include "shell/PillContent.h"
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
    double badges(const std::vector<std::string>& texts) const {
        double width = 0;
        for (const std::string& text : texts)
            width += badgeWidth(
                text, [this](const auto& measured, PillFont font) { return pills.textWidth(measured, font); });
        return width;
    }

    static constexpr double base = pillStyle::baseWidth;

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
    EXPECT_EQ(pill().width, base);
    EXPECT_EQ(line(), "0.00s");
    queue.advance(1.25);
    EXPECT_EQ(line(), "1.23s") << "37 frames of 1/30 s";
    EXPECT_EQ(pill().pictures, 1 + 37);
    EXPECT_EQ(dot().colour, pillStyle::recordingDot) << "does not pulse";
    queue.advance(1000);
    EXPECT_GT(pill().width, base) << "the clock outgrew its pill";
}

TEST_F(Overlay, EachBadgeAddsItsWidth) {
    const auto show = [&](const char* language, bool isOffline, const char* application) {
        config.update([&](Settings& s) { s.language = language, s.offlineMode = isOffline; });
        overlay.showRecording(isOffline, application);
        run();
        return line();
    };
    EXPECT_EQ(show("de", true, "Slack"), "Slack|Replace|Offline Mode|DE|0.00s");
    EXPECT_EQ(pill().width, base + badges({"Slack", "Replace", "Offline Mode", "DE"}));
    EXPECT_EQ(show("en", false, "Fenlo"), "0.00s") << "its own windows have no label";
    EXPECT_EQ(show("auto", false, ""), "0.00s");
    EXPECT_EQ(pill().width, base);
    config.update([](Settings& s) { s.showAppInPill = false; });
    EXPECT_EQ(show("en", false, "Slack"), "0.00s");
}

TEST_F(Overlay, WarmingPulsesAndIsReplacedByRecording) {
    config.update([](Settings& s) { s.language = "de", s.offlineMode = true; });
    overlay.showWarming(true, "Slack");
    run();
    EXPECT_EQ(line(), "Slack|Replace|Warming up") << "no offline and language badges yet";
    EXPECT_GT(pill().width, base + badges({"Slack", "Replace"})) << "its text is longer than the clock";
    double lowest = 1, highest = 0;
    for (int frame = 0; frame < 120; ++frame) {
        queue.advance(1.0 / 30);
        lowest = std::min(lowest, dot().colour.alpha);
        if (frame > 30)
            highest = std::max(highest, dot().colour.alpha);
    }
    EXPECT_NEAR(lowest, 0.3, 0.035);
    EXPECT_EQ(highest, 1.0);

    overlay.showRecording(true, "Slack");
    run();
    EXPECT_EQ(pills.records.size(), 2u);
    EXPECT_EQ(pills.records[0]->state, State::gone);
    queue.advance(0.5001);
    EXPECT_EQ(line(), "Slack|Replace|Offline Mode|DE|0.50s") << "the wake-up time is not counted";
}

TEST_F(Overlay, ProcessingFreezesTheLengthAndOffersToStopAfterThreeSeconds) {
    int cancelled = 0;
    overlay.onCancel = [&] { ++cancelled; };
    overlay.showRecording(false, "");
    queue.advance(2.5);
    overlay.showProcessing();
    queue.advance(2.99);
    EXPECT_EQ(line(), "2.50s");
    EXPECT_EQ(pills.records.size(), 1u) << "in the same window";
    EXPECT_LT(dot().colour.alpha, 1.0) << "pulses";
    EXPECT_EQ(pill().width, base);
    EXPECT_FALSE(pill().onMouseDown) << "clicks go through";
    queue.advance(0.07); // at most two frames later
    EXPECT_EQ(line(), "2.50s|tap to stop");
    EXPECT_EQ(pill().width, pillStyle::minimumExpandedWidth);
    EXPECT_GT(pill().lastAnimation, 0) << "animated";
    ASSERT_TRUE(pill().onMouseDown);
    pill().onMouseDown();
    EXPECT_EQ(cancelled, 1);
    const double animated = pill().lastAnimation;
    queue.advance(10);
    EXPECT_EQ(pill().lastAnimation, animated) << "made once only";

    overlay.showRecording(true, "Slack");
    overlay.showProcessing();
    queue.advance(3.1);
    EXPECT_EQ(pill().width, base + badges({"Slack", "Replace"}) + pillStyle::cancelRoom) << "a wide pill";
}

TEST_F(Overlay, ChunksShowTheirProgressAndKeepTheOffer) {
    overlay.showRecording(false, "");
    queue.advance(1.0);
    overlay.showProcessing();
    overlay.showChunkProgress(1, 12);
    run();
    EXPECT_EQ(line(), "Transcribing 1/12...");
    const double fitted = pill().width;
    EXPECT_GT(fitted, base) << "the text fits";
    queue.advance(2.0);
    overlay.showChunkProgress(2, 12);
    queue.advance(0.9);
    EXPECT_EQ(line(), "Transcribing 2/12...");
    queue.advance(0.2);
    EXPECT_EQ(line(), "Transcribing 2/12...|tap to stop") << "3 s after processing began, not after the last chunk";
    EXPECT_EQ(pill().width, fitted + pillStyle::cancelRoom);
    overlay.showChunkProgress(10, 12);
    run();
    EXPECT_EQ(line(), "Transcribing 10/12...|tap to stop");
    EXPECT_GT(pill().width, fitted + pillStyle::cancelRoom);
}

TEST_F(Overlay, WordsHaveAPlaceOfTheirOwnThatStaysWhereItIs) {
    config.update([](Settings& s) { s.showWordsInPill = true; });
    overlay.showWarming(false, "Slack", OverlayWindow::WordsRoom::kept);
    run();
    const double wide = pill().width;
    overlay.showRecording(false, "Slack", OverlayWindow::WordsRoom::kept);
    overlay.showWords("Some");
    run();
    EXPECT_EQ(line(), "Slack|0.00s|Some");
    EXPECT_EQ(pill().width, wide);
    EXPECT_GT(wide, base + pillStyle::wordsWidth);
    const auto words = [this] { return pill().picture.texts.at(2); };
    const double left = words().x;

    queue.advance(1234.5); // the clock gets longer
    overlay.showWords("Some \n words");
    run();
    EXPECT_EQ(words().text, "Some words");
    EXPECT_EQ(words().x, left);
    std::string all;
    for (int i = 0; i < 300; ++i)
        all += "na\u0308ive "; // a letter of two code points
    for (const char* const last : {"end", "the end", "\u0308x"}) {
        overlay.showWords(all + last);
        run();
        const double end = words().x + pills.textWidth(words().text, words().font);
        EXPECT_NEAR(end, left + pillStyle::wordsWidth, 1e-9) << "its end stands still";
        EXPECT_GE(words().x, left);
        EXPECT_LT(words().x, left + 7) << "no more is cut than must be";
        EXPECT_TRUE(words().text.starts_with("…") && words().text.ends_with(last)) << words().text;
        EXPECT_NE(words().text.substr(3, 2), "\u0308") << "cut within a letter";
    }
    EXPECT_EQ(pill().width, wide);

    overlay.showProcessing();
    queue.advance(3.1);
    EXPECT_EQ(pill().picture.texts.size(), 4u) << "they stay, and the offer stands behind them";
    EXPECT_EQ(pill().width, wide + pillStyle::cancelRoom);
    overlay.showWords("too late");
    overlay.showChunkProgress(1, 2);
    run();
    EXPECT_EQ(line(), "Slack|Transcribing 1/2...|tap to stop");
    EXPECT_EQ(pill().width, wide + pillStyle::cancelRoom);

    overlay.showRecording(false, "Slack");
    overlay.showWords("No room");
    run();
    EXPECT_EQ(line(), "Slack|0.00s");
}

TEST_F(Overlay, CommandModeAddsItsBadgeOnce) {
    overlay.showRecording(false, "Slack");
    overlay.showCommandMode();
    overlay.showCommandMode();
    run();
    EXPECT_EQ(line(), "AI|Slack|0.00s");
    EXPECT_EQ(pill().width, base + badges({"AI", "Slack"}));
    EXPECT_EQ(dot().colour, pillStyle::commandDot);
    overlay.showRecording(false, "Slack");
    run();
    EXPECT_EQ(line(), "Slack|0.00s");
}

TEST_F(Overlay, ElementsStandInOrderAndKeepTheirDistance) {
    PillContent content;
    content.isCommandMode = content.isReplacing = content.isOffline = content.showCancel = true;
    content.appLabel = "Mail";
    content.langCode = "DE";
    content.displayText = "1.25s";
    content.glowColor = content.dotColor = pillStyle::processingDot;
    content.dotPulse = 0.6;
    const auto [picture, end] =
        layOut(content, [this](const std::string& text, PillFont font) { return pills.textWidth(text, font); });
    double cursor = 0;
    std::string order;
    for (const auto& text : picture.texts) {
        EXPECT_GE(text.x, cursor + 10) << text.text;
        cursor = text.x + pills.textWidth(text.text, text.font);
        order += text.text + "|";
    }
    EXPECT_EQ(order, "AI|Mail|Replace|Offline Mode|DE|1.25s|tap to stop|");
    EXPECT_EQ(end, cursor);
    EXPECT_EQ(picture.ovals.size(), 3u + 5) << "the dot with its glow, and a separator behind each badge";
    EXPECT_LT(picture.ovals[0].colour.alpha, picture.ovals[1].colour.alpha);
    EXPECT_LT(picture.ovals[1].colour.alpha, picture.ovals[2].colour.alpha);
    EXPECT_EQ(picture.ovals[2].colour.alpha, 0.6) << "they pulse together";
    EXPECT_EQ(picture.rules.size(), 1u) << "before the offer";
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
    EXPECT_EQ(pills.records[0]->pictures, drawn) << "the old pill is not drawn any more";
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
    queue.advance(0.5);
    EXPECT_LT(dot().colour.alpha, 1.0);
}

TEST_F(Overlay, TheCardTakesThePlaceOfThePill) {
    overlay.showRecording(false, "");
    overlay.showResult("See https://a.example.");
    run();
    EXPECT_EQ(pills.records[0]->state, State::gone);
    EXPECT_TRUE(cards.isShown());
    const double low = cards.height;
    EXPECT_LT(cards.measuredWidth, cards.width) << "the text keeps a margin";
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

    overlay.showResult(std::string(100, '\n'));
    run();
    EXPECT_GT(cards.height, low);
    EXPECT_LE(cards.height, 480) << "whatever the length of the answer";
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
    EXPECT_FALSE(keys.mouseDown) << "clicks are not watched any more";

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
