#include "app/transcribe/PartialTranscript.h"

#include "WhisperEngine/Output/TranscriptWriter.h"
#include "app/transcribe/LiveText.h"
#include "base/Files.h"
#include "support/VirtualTime.h"

#include <cmath>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::whisper;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

TranscriptionSegment segment(float start, std::string text) {
    return {.id = 3,
            .seek = 16000,
            .start = start,
            .end = start + 0.1f,
            .text = std::move(text),
            .tokens = {5, 50257},
            .tokenLogProbs = {-0.123456789f, 0},
            .temperature = 0.2f,
            .avgLogprob = std::nanf(""),
            .compressionRatio = 1.1f,
            .noSpeechProb = 1e-7f,
            .words = {{{" wörd", {5}, start, start + 0.05f, 0.3f}}}};
}

const TranscriptionCheckpoint checkpoint{.clip = 1,
                                         .seek = 345678,
                                         .windowId = 7,
                                         .language = "de",
                                         .previousTokens = {1, 2},
                                         .lastSpeechTimestamp = 10.02f};

} // namespace

TEST(PartialTranscript, ComesBackBitForBit) {
    PartialTranscript partial{.identity = {"hash", "options \"x\""}, .parts = {}};
    partial.parts[2] = {checkpoint, {segment(7199.98f, " a"), segment(0.1f, "b\n")}};
    const auto back = decodePartial(encodePartial(partial));
    ASSERT_TRUE(back);
    EXPECT_EQ(back->identity, partial.identity);
    EXPECT_EQ(encodePartial(*back), encodePartial(partial));
    const StoppedTranscription& stopped = back->parts.at(2);
    EXPECT_EQ(stopped.checkpoint.seek, 345678);
    EXPECT_EQ(stopped.checkpoint.previousTokens, (std::vector{1, 2}));
    EXPECT_EQ(stopped.checkpoint.lastSpeechTimestamp, 10.02f);
    EXPECT_EQ(stopped.segments[0].start, 7199.98f);
    EXPECT_EQ(stopped.segments[0].tokenLogProbs[0], -0.123456789f);
    EXPECT_TRUE(std::isnan(stopped.segments[0].avgLogprob));
    EXPECT_EQ(stopped.segments[1].words->at(0).end, 0.15f);
}

TEST(PartialTranscript, AnotherTextIsRefused) {
    for (const char* text :
         {"", "{}", "[1]", "{\"fenloPartialTranscript\":2}",
          R"({"fenloPartialTranscript":1,"recording":"","options":"","parts":[{"part":0}]})",
          R"({"fenloPartialTranscript":1,"recording":"","options":"","parts":[{"part":0,"clip":0,"seek":-5,)"
          R"("windowId":0,"language":"","previousTokens":[],"lastSpeechTimestamp":0,"segments":[]}]})"})
        EXPECT_FALSE(decodePartial(text)) << text;
}

TEST(PartialTranscript, KnowsARecordingByItsContent) {
    const fs::path file = files::temporaryFile("hash", "");
    files::writeAtomically(file, "abc");
    EXPECT_EQ(hashOfFile(file), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    fs::remove(file);
    EXPECT_FALSE(hashOfFile(file));
    EXPECT_FALSE(hashOfFile("/dev/zero"));
}

TEST(PartialKeeper, WritesEveryHalfMinuteAndWhenAsked) {
    test::VirtualClock clock;
    const fs::path file = files::temporaryFile("keeper", ".partial");
    PartialKeeper keeper(file, {.identity = {"hash", "options"}, .parts = {}}, clock);
    EXPECT_EQ(keeper.save(), PartialKeeper::Saved::nothing);
    const auto found = std::vector{segment(0, " a")};
    keeper.add(0, checkpoint, found);
    EXPECT_FALSE(fs::exists(file));
    clock.advance(31);
    keeper.add(0, checkpoint, found);
    EXPECT_EQ(decodePartial(files::read(file).value())->parts.at(0).segments.size(), 2u);
    keeper.add(1, checkpoint, {});
    EXPECT_EQ(keeper.save(), PartialKeeper::Saved::written);
    EXPECT_EQ(decodePartial(files::read(file).value())->parts.size(), 2u);
    fs::remove(file);
    PartialKeeper homeless("/nowhere/x.partial", {.identity = {}, .parts = {}}, clock);
    homeless.add(0, checkpoint, found);
    EXPECT_EQ(homeless.save(), PartialKeeper::Saved::failed);
}

TEST(LiveText, IsInTheOrderOfTheRecordingWhicheverPartIsFirst) {
    std::string shown;
    LiveText live([&](const std::string& lines) { shown += lines; });
    const auto add = [&](std::size_t part, const char* text) { live.add(part, std::vector{segment(0, text)}); };
    add(1, " three");
    live.finish(1);
    add(0, " one");
    EXPECT_EQ(shown, "one\n");
    add(0, "<|0.00|> two ");
    live.finish(0);
    EXPECT_EQ(shown, "one\ntwo\nthree\n");
    add(2, "four");
    EXPECT_EQ(shown, "one\ntwo\nthree\nfour\n");
}
