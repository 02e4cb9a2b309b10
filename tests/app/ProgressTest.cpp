#include "app/Progress.h"

#include "support/VirtualTime.h"

#include <cmath>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <pty.h>
#include <random>
#include <sys/ioctl.h>

using namespace fenlo;
using fenlo::test::VirtualClock;
using testing::HasSubstr;

namespace {

ProgressState download(std::uint64_t received, std::optional<double> rate = {}) {
    return {.label = "Downloading", .received = received, .total = 400'000'000, .rate = rate};
}

ProgressState heard(std::string text) {
    return {.label = "Listening", .fraction = 0.5, .text = std::move(text)};
}

/// What was written to a descriptor so far.
std::string readAll(int descriptor) {
    std::string all;
    char buffer[4096];
    for (ssize_t got; (got = ::read(descriptor, buffer, sizeof buffer)) > 0;)
        all.append(buffer, static_cast<std::size_t>(got));
    return all;
}

struct Terminal {
    explicit Terminal(unsigned short columns) {
        ::setenv("TERM", "xterm", 1);
        winsize size{24, columns, 0, 0};
        EXPECT_EQ(::openpty(&screen, &program, nullptr, nullptr, &size), 0);
        ::fcntl(screen, F_SETFL, O_NONBLOCK);
    }
    ~Terminal() {
        ::close(screen);
        ::close(program);
    }
    std::string shown() const { return readAll(screen); }
    int screen = -1;
    int program = -1;
};

std::size_t countOf(const std::string& text, char c) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), c));
}

} // namespace

TEST(ProgressLine, LeavesOutWhatDoesNotFit) {
    const auto state = download(100'000'000, 12'500'000.0);
    EXPECT_EQ(progressLine(state, 100),
              "Downloading [=======>                    ]  25 %  100.0 of 400.0 MB  12.5 MB/s  0:24 left");
    EXPECT_EQ(progressLine(state, 50), "Downloading   25 %  100.0 of 400.0 MB  12.5 MB/s");
    EXPECT_EQ(progressLine(state, 30), "Downloading [==>      ]  25 %");
    EXPECT_EQ(progressLine(state, 15), "Downloading");
    EXPECT_EQ(progressLine(state, 4), "Down");
    EXPECT_EQ(progressLine(download(0), 44), "Downloading    0 %  0.0 of 400.0 MB");
}

TEST(ProgressLine, ShowsTheEndOfWhatWasHeard) {
    EXPECT_EQ(progressLine(heard("the quick brown fox"), 40), "Listening   50 %  the quick brown fox");
    EXPECT_EQ(progressLine(heard("the quick brown fox"), 27), "Listening   50 %  brown fox");
    EXPECT_EQ(progressLine(heard("日本語のテスト"), 23), "Listening   50 %  スト");
    EXPECT_EQ(progressLine(heard("a\x1b[2Jb\r\nc\xFF\u202E"), 40), "Listening   50 %  a [2Jb  c\uFFFD");
}

TEST(ProgressLine, NeverExceedsTheWidth) {
    std::mt19937_64 random(3);
    const std::vector<std::string> pieces{"a",        "é",    "日", "👍🏽", "e\u0301",
                                          "\xF0\x9F", "\x1b", "\n", "\u200D",   " "};
    for (int round = 0; round < 3000; ++round) {
        ProgressState state;
        for (auto count = random() % 20; count > 0; --count)
            state.label += pieces[random() % pieces.size()];
        for (auto count = random() % 80; count > 0; --count)
            state.text += pieces[random() % pieces.size()];
        state.received = random() >> (random() % 64);
        state.total = round % 3 ? random() >> (random() % 64) : 0;
        state.rate = round % 5 ? std::optional(static_cast<double>(random() % 1000) * 1e-3) : std::nullopt;
        state.fraction = round % 2 ? std::optional(std::nan("")) : std::optional(7.0);
        const int width = static_cast<int>(random() % 100);
        const std::string line = progressLine(state, width);
        ASSERT_LE(columnsOf(line), width) << line;
        ASSERT_EQ(line.find_first_of("\x1b\n\r"), line.npos);
    }
}

TEST(RateMeter, ForgetsWhatIsPast) {
    RateMeter meter;
    meter.add(0, 1'000'000);
    EXPECT_EQ(meter.rate(), std::nullopt);
    meter.add(1, 1'000'100);
    EXPECT_EQ(meter.rate(), 100.0) << "what an earlier attempt left does not count";
    for (int second = 2; second <= 20; ++second)
        meter.add(second, 1'000'100);
    EXPECT_EQ(meter.rate(), 0.0);
    meter.add(21, 0);
    EXPECT_EQ(meter.rate(), std::nullopt);
}

TEST(Progress, DrawsOneLineTenTimesASecondAndErasesIt) {
    const Terminal terminal(60);
    VirtualClock clock;
    {
        Progress progress(clock, terminal.program);
        for (std::uint64_t step = 0; step < 200; ++step) {
            progress.bytes("Downloading", step * 1'000'000, 200'000'000);
            clock.advance(0.01);
        }
        const std::string drawn = terminal.shown();
        EXPECT_LE(countOf(drawn, '\r'), 20u);
        EXPECT_GE(countOf(drawn, '\r'), 18u);
        EXPECT_EQ(countOf(drawn, '\n'), 0u);
        EXPECT_THAT(drawn, HasSubstr("of 200.0 MB  100.0 MB/s"));
        for (std::size_t start = 1, end; (end = drawn.find("\x1b[K\r", start)) != drawn.npos; start = end + 4)
            EXPECT_LE(end - start, 59u);
    }
    EXPECT_EQ(terminal.shown(), "\r\x1b[K");
}

TEST(Progress, ShowsTextBehindTheLastFraction) {
    const Terminal terminal(60);
    VirtualClock clock;
    Progress progress(clock, terminal.program);
    const auto shows = [&](const std::function<void()>& step) {
        step();
        clock.advance(1);
        return terminal.shown();
    };
    EXPECT_THAT(shows([&] { progress.fraction("a.wav", 0.5); }), HasSubstr("a.wav [======"));
    EXPECT_EQ(shows([&] { progress.text("a.wav", "one two"); }), "\ra.wav   50 %  one two\x1b[K");
    EXPECT_EQ(shows([&] { progress.fraction("a.wav", 0.6); }), "\ra.wav   60 %  one two\x1b[K");
    EXPECT_EQ(shows([&] { progress.text("b.wav", "three"); }), "\rb.wav  three\x1b[K");
}

TEST(Progress, IsQuietWithoutATerminal) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_NONBLOCK), 0);
    VirtualClock clock;
    {
        Progress progress(clock, ends[1]);
        for (int step = 0; step < 100; ++step) {
            progress.bytes("Downloading", 1, 2);
            clock.advance(1);
        }
        progress.fraction("Preparing", 0.5);
        progress.text("Preparing", "words");
    }
    EXPECT_EQ(readAll(ends[0]), "Downloading...\nPreparing...\n");
    ::close(ends[0]);
    ::close(ends[1]);
}
