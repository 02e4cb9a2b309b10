#include "WhisperEngine/Output/TranscriptWriter.h"

#include "base/Json.h"
#include "base/Text.h"

#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>

using namespace fenlo;
using namespace fenlo::whisper;
using testing::HasSubstr;

namespace {

TranscriptionSegment segment(float start, float end, std::string text) {
    TranscriptionSegment segment;
    segment.start = start;
    segment.end = end;
    segment.text = std::move(text);
    return segment;
}

std::vector<TranscriptionResult> recording() {
    TranscriptionResult first;
    first.text = " Hello world.";
    first.language = "en";
    first.segments = {segment(0.0f, 1.32f, " Hello world.")};
    first.segments[0].words = {{" Hello", {1}, 0.0f, 0.5f, 0.9f}, {" world.", {2}, 0.5f, 1.32f, 0.8f}};
    TranscriptionResult second;
    second.text = " Ça va?";
    second.language = "fr";
    second.segments = {segment(3661.5f, 3662.0f, "<|3661.50|> Ça va?<|3662.00|>")};
    second.segments[0].seek = 16000;
    return {first, second};
}

std::string written(const TranscriptionSegment& only, TranscriptFormat format) {
    TranscriptionResult result;
    result.text = only.text;
    result.segments = {only};
    return writeTranscript({&result, 1}, format);
}

} // namespace

TEST(TranscriptWriter, EachFormat) {
    const auto results = recording();
    EXPECT_EQ(writeTranscript(results, TranscriptFormat::txt), "Hello world.\nÇa va?\n");
    EXPECT_EQ(writeTranscript(results, TranscriptFormat::srt), "1\n00:00:00,000 --> 00:00:01,320\nHello world.\n\n"
                                                               "2\n01:01:01,500 --> 01:01:02,000\nÇa va?\n\n");
    EXPECT_EQ(writeTranscript(results, TranscriptFormat::vtt),
              "WEBVTT\n\n00:00:00.000 --> 00:00:01.320\nHello<00:00:00.500> world.\n\n"
              "01:01:01.500 --> 01:01:02.000\nÇa va?\n\n");
    EXPECT_EQ(writeTranscript(results, TranscriptFormat::tsv),
              "start\tend\ttext\n0\t1320\tHello world.\n3661500\t3662000\tÇa va?\n");

    const auto json = parseJson(writeTranscript(results, TranscriptFormat::json));
    EXPECT_EQ(json["text"], "Hello world. Ça va?");
    EXPECT_EQ(json["language"], "en");
    ASSERT_EQ(json["segments"].size(), 2u);
    EXPECT_EQ(json["segments"][0]["end"], 1.32);
    EXPECT_EQ(json["segments"][0]["words"][1],
              (nlohmann::json{{"word", " world."}, {"start", 0.5}, {"end", 1.32}, {"probability", 0.8}}));
    EXPECT_EQ(json["segments"][1]["id"], 1);
    EXPECT_EQ(json["segments"][1]["seek"], 100);
    EXPECT_EQ(json["segments"][1]["text"], " Ça va?");
    EXPECT_FALSE(json["segments"][1].contains("words"));
}

TEST(TranscriptWriter, NothingSaid) {
    EXPECT_EQ(writeTranscript({}, TranscriptFormat::txt), "");
    EXPECT_EQ(writeTranscript({}, TranscriptFormat::vtt), "WEBVTT\n\n");
    EXPECT_EQ(parseJson(writeTranscript({}, TranscriptFormat::json))["segments"], nlohmann::json::array());
    EXPECT_EQ(written(segment(0, 1, " \n<|endoftext|>"), TranscriptFormat::srt), "");
}

TEST(TranscriptWriter, TextWithMeaningInTheFormat) {
    const auto odd = segment(0, 1, "a --> b\t<i>&\r\n\nc --->d\u2028e");
    EXPECT_EQ(written(odd, TranscriptFormat::srt), "1\n00:00:00,000 --> 00:00:01,000\na -> b <i>&   c ->d e\n\n");
    EXPECT_THAT(written(odd, TranscriptFormat::vtt), HasSubstr("\na --&gt; b &lt;i&gt;&amp;   c ---&gt;d e\n\n"));
    EXPECT_EQ(written(odd, TranscriptFormat::tsv), "start\tend\ttext\n0\t1000\ta --> b <i>&   c --->d e\n");
}

TEST(TranscriptWriter, WordTimesRiseWithinTheirCue) {
    auto words = segment(1, 2, " a b c d");
    words.words = {{" a", {}, 0.5f, 1, 1}, {" b", {}, 1.5f, 1, 1}, {" c", {}, 1.2f, 1, 1}, {" d", {}, 2.5f, 3, 1}};
    EXPECT_THAT(written(words, TranscriptFormat::vtt), HasSubstr("\na<00:00:01.500> b c d\n"));
}

TEST(TranscriptWriter, AnyResultGivesWellFormedDocuments) {
    std::mt19937 random(7);
    const std::vector<std::string> pieces{"-->", "-",  ">",      "<",  "|",    "&",    "\t", "\n",
                                          "\r",  " ",  "a",      "é",  "\xC3", "\xFF", "日", std::string(1, '\0'),
                                          "\"",  "\\", "\u2028", "<|", "|>"};
    const std::vector<float> times{0,
                                   1.5f,
                                   -3,
                                   1e-9f,
                                   7200,
                                   1e30f,
                                   -1e30f,
                                   std::nanf(""),
                                   std::numeric_limits<float>::infinity(),
                                   -std::numeric_limits<float>::infinity()};
    const auto time = [&] { return times[random() % times.size()]; };
    const auto words = [&] {
        std::string text;
        for (auto count = random() % 9; count > 0; --count)
            text += pieces[random() % pieces.size()];
        return text;
    };
    const text::Regex cue("(?m)^\\d\\d:\\d\\d:\\d\\d[,.]\\d{3} --> \\d\\d:\\d\\d:\\d\\d[,.]\\d{3}$");
    for (int round = 0; round < 1000; ++round) {
        auto any = segment(time(), time(), words());
        any.avgLogprob = time();
        if (round % 2)
            any.words = {{words(), {}, time(), time(), time()}, {words(), {}, time(), time(), time()}};
        for (const auto format : {TranscriptFormat::txt, TranscriptFormat::srt, TranscriptFormat::vtt,
                                  TranscriptFormat::tsv, TranscriptFormat::json}) {
            const std::string document = written(any, format);
            ASSERT_EQ(document, text::repairUtf8(document));
            const auto lines = text::split(document, '\n');
            if (format == TranscriptFormat::json) {
                const auto json = parseJson(document)["segments"][0];
                ASSERT_GE(json["start"], 0);
                ASSERT_GE(json["end"], json["start"]);
            } else if (format == TranscriptFormat::tsv && lines.size() > 2) {
                ASSERT_EQ(lines.size(), 3u) << document;
                const auto fields = text::split(lines[1], '\t');
                ASSERT_EQ(fields.size(), 3u) << document;
                ASSERT_GE(std::stol(fields[0]), 0);
                ASSERT_GE(std::stol(fields[1]), std::stol(fields[0]));
            } else if (format == TranscriptFormat::srt && !document.empty()) {
                ASSERT_EQ(lines.size(), 5u) << document;
                ASSERT_TRUE(cue.find(lines[1])) << document;
                ASSERT_LT(lines[1].substr(0, 12), lines[1].substr(17));
                ASSERT_EQ(lines[2].find("-->"), std::string::npos) << document;
            } else if (format == TranscriptFormat::vtt && lines.size() > 3) {
                ASSERT_EQ(lines.size(), 6u) << document;
                ASSERT_TRUE(cue.find(lines[2])) << document;
                ASSERT_LT(lines[2].substr(0, 12), lines[2].substr(17));
                ASSERT_EQ(lines[3].find("-->"), std::string::npos) << document;
            }
        }
    }
}

namespace {

/// Words of a second each, from `start`.
TranscriptionSegment spoken(float start, const std::vector<std::string>& words) {
    auto result = segment(start, start + static_cast<float>(words.size()), "");
    result.words.emplace();
    for (const std::string& word : words) {
        result.words->push_back({word, {}, start, start + 1, 1});
        result.text += word;
        start += 1;
    }
    return result;
}

std::string laidOut(std::vector<TranscriptionSegment> segments, TranscriptFormat format, SubtitleLayout layout) {
    TranscriptionResult result;
    result.segments = std::move(segments);
    return writeTranscript({&result, 1}, format, layout);
}

} // namespace

TEST(SubtitleLayout, BreaksLinesAtWords) {
    const std::vector segments{spoken(0, {" One", " two", " three", " extraordinarily."}), spoken(4, {" Five."})};
    EXPECT_EQ(laidOut(segments, TranscriptFormat::srt, {.maxLineWidth = 9}),
              "1\n00:00:00,000 --> 00:00:04,000\nOne two\nthree\nextraordinarily.\n\n"
              "2\n00:00:04,000 --> 00:00:05,000\nFive.\n\n");
    EXPECT_EQ(laidOut(segments, TranscriptFormat::srt, {.maxLineWidth = 9, .maxLineCount = 2}),
              "1\n00:00:00,000 --> 00:00:03,000\nOne two\nthree\n\n"
              "2\n00:00:03,000 --> 00:00:05,000\nextraordinarily.\nFive.\n\n")
        << "with a limit of lines a cue may hold words of two segments";
    EXPECT_EQ(
        laidOut({spoken(0, {" a"}), spoken(9, {" b"})}, TranscriptFormat::srt, {.maxLineWidth = 9, .maxLineCount = 2}),
        "1\n00:00:00,000 --> 00:00:01,000\na\n\n2\n00:00:09,000 --> 00:00:10,000\nb\n\n")
        << "no cue stands on through a long pause";
    EXPECT_EQ(laidOut({spoken(0, {" a", " b"})}, TranscriptFormat::vtt, {.maxLineWidth = 1}),
              "WEBVTT\n\n00:00:00.000 --> 00:00:02.000\na\n<00:00:01.000>b\n\n");
    EXPECT_EQ(laidOut({segment(0, 4, " four words without times")}, TranscriptFormat::srt,
                      {.maxLineWidth = 10, .maxLineCount = 1}),
              "1\n00:00:00,000 --> 00:00:01,833\nfour words\n\n2\n00:00:01,833 --> 00:00:03,166\nwithout\n\n"
              "3\n00:00:03,166 --> 00:00:04,000\ntimes\n\n");
}

TEST(SubtitleLayout, UnderlinesTheWordThatIsSpoken) {
    auto said = spoken(1, {" <a>", " b."});
    said.words->at(1).start = 2.5f;
    EXPECT_EQ(laidOut({said}, TranscriptFormat::srt, {.highlightWords = true}),
              "1\n00:00:01,000 --> 00:00:02,000\n<u><a></u> b.\n\n"
              "2\n00:00:02,000 --> 00:00:02,500\n<a> b.\n\n"
              "3\n00:00:02,500 --> 00:00:03,000\n<a> <u>b.</u>\n\n");
    EXPECT_THAT(laidOut({said}, TranscriptFormat::vtt, {.highlightWords = true}), HasSubstr("\n<u>&lt;a&gt;</u> b.\n"));
    EXPECT_EQ(laidOut({segment(0, 1, " no times")}, TranscriptFormat::srt, {.highlightWords = true}),
              "1\n00:00:00,000 --> 00:00:01,000\nno times\n\n");
}

TEST(SubtitleLayout, CuesDoNotOverlap) {
    EXPECT_EQ(laidOut({segment(0, 5, "a"), segment(4, 6, "b")}, TranscriptFormat::srt, {}),
              "1\n00:00:00,000 --> 00:00:04,000\na\n\n2\n00:00:04,000 --> 00:00:06,000\nb\n\n");
    auto instant = spoken(1, {" a", " b"});
    instant.words->at(0).end = 1;
    instant.words->at(1).start = 1;
    EXPECT_THAT(laidOut({instant}, TranscriptFormat::srt, {.highlightWords = true}),
                HasSubstr("00:00:01,000 --> 00:00:01,001\n<u>a</u> b\n\n2\n00:00:01,001 --> 00:00:03,000\n"));
}
