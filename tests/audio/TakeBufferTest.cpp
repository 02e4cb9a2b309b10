#include "audio/TakeBuffer.h"
#include "media/AudioFile.h"
#include "support/LogCapture.h"
#include "support/Signals.h"
#include "support/WaitUntil.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <new>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;

namespace fs = std::filesystem;

namespace {

constexpr double hertz = 16000;
constexpr std::size_t tapSize = 4096;

thread_local std::size_t allocations = 0; // of this thread

} // namespace

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    return std::malloc(size);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

TEST(TakeBuffer, AppendNeverAllocatesNotEvenAfterACut) {
    TakeBuffer take;
    take.setSampleRate(hertz);
    take.begin();
    const LogCapture log;
    const auto buffer = constant(0.2F, tapSize);
    std::size_t allocated = 0;
    const auto hear = [&](double seconds) {
        const std::size_t before = allocations;
        for (double heard = 0; heard < seconds; heard += tapSize / hertz)
            take.append(buffer);
        allocated += allocations - before;
    };
    hear(245); // a cut after 240 seconds, and some samples while it is written
    ASSERT_TRUE(waitUntil(60, [&] { return log.containsPrefix("[Fenlo] Flushed chunk 1"); }));
    hear(240); // the next cut
    ASSERT_TRUE(waitUntil(60, [&] { return log.containsPrefix("[Fenlo] Flushed chunk 2"); }));
    hear(5);
    EXPECT_EQ(allocated, 0u);
    for (const fs::path& file : take.end().chunkFiles)
        fs::remove(file);
}

TEST(TakeBuffer, InPieces_EachSampleIsHandedOutOnce) {
    constexpr std::size_t buffers = 2500; // more than two chunks
    TakeBuffer take;
    take.setSampleRate(hertz);
    EXPECT_TRUE(take.takeSamples().samples.empty());
    take.begin(TakeKind::inPieces);
    std::atomic<bool> done = false;
    std::thread audio([&] {
        std::vector<float> buffer(tapSize);
        float next = 0; // exact up to 2^24
        for (std::size_t i = 0; i < buffers; ++i) {
            for (float& sample : buffer)
                sample = next++;
            take.append(buffer);
        }
        done = true;
    });
    float expected = 0;
    bool isInOrder = true;
    const auto check = [&](const std::vector<float>& samples) {
        for (const float sample : samples)
            isInOrder = isInOrder && sample == expected++;
    };
    while (!done)
        check(take.takeSamples().samples);
    audio.join();
    check(take.takeSamples().samples);
    EXPECT_TRUE(isInOrder);
    EXPECT_EQ(expected, static_cast<float>(buffers * tapSize));
    EXPECT_TRUE(take.end().samples.empty());
}

TEST(TakeBuffer, InPieces_ALateTakerFindsAllInMemory) {
    TakeBuffer take;
    take.setSampleRate(hertz);
    bool hasFiles = false;
    take.setOnFiles([&](const auto&) { hasFiles = true; });
    take.begin(TakeKind::inPieces);
    const auto buffer = constant(0.2F, tapSize);
    const auto hear = [&](double seconds) {
        const std::size_t before = allocations;
        for (double heard = 0; heard < seconds; heard += tapSize / hertz)
            take.append(buffer);
        return allocations - before;
    };
    for (int piece = 0; piece < 3; ++piece) {
        EXPECT_EQ(hear(10), 0u);
        EXPECT_EQ(take.takeSamples().samples.size(), 40 * tapSize);
    }
    hear(300);
    EXPECT_EQ(take.takeSamples().samples.size(), 1172 * tapSize);
    EXPECT_EQ(hear(10), 0u) << "a new buffer has room again";
    const TakeBuffer::Taken rest = take.end();
    EXPECT_EQ(rest.samples.size(), 40 * tapSize);
    EXPECT_TRUE(rest.chunkFiles.empty());
    EXPECT_FALSE(rest.runningCopy);
    EXPECT_FALSE(hasFiles);
}

TEST(TakeBuffer, AudioThreadMainThreadAndFlusher_LoseNothing) {
    constexpr std::size_t buffers = 2500; // more than two chunks
    TakeBuffer take;
    take.setSampleRate(hertz);
    take.begin();
    std::atomic<bool> done = false;
    std::thread audio([&] {
        const auto buffer = constant(0.2F, tapSize);
        for (std::size_t i = 0; i < buffers; ++i)
            take.append(buffer);
        done = true;
    });
    while (!done)
        EXPECT_TRUE(take.markDeviceChanged() && take.isRecording());
    audio.join();
    const TakeBuffer::Taken taken = take.end();
    std::size_t samples = taken.samples.size();
    for (const fs::path& file : taken.chunkFiles) {
        samples += readSoundFile(file, ChannelMix::first).mono.size();
        fs::remove(file);
    }
    EXPECT_EQ(samples, buffers * tapSize);
    EXPECT_GE(taken.chunkFiles.size(), 1u);
    EXPECT_TRUE(taken.deviceChanged);
}
