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
