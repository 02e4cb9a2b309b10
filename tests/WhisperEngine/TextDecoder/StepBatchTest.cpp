#include "WhisperEngine/TextDecoder/StepBatch.h"
#include "WhisperEngine/WhisperError.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <string>
#include <thread>

using namespace fenlo::whisper;

namespace {

constexpr int refused = 13; // a token

/// Notes how many windows each call serves.
class NotingDecoder final : public TextDecoderModel {
public:
    std::optional<int> kvCacheEmbedDim() const override { return 4; }
    std::optional<int> kvCacheMaxSequenceLength() const override { return 224; }
    std::optional<int> encoderOutputDim() const override { return 2; }
    std::optional<int> logitsSize() const override { return 10; }
    int audioFrames() const override { return 1500; }
    void attach(AudioEmbeddings&) const override {}
    std::unique_ptr<Scratch> makeScratch() const override { return std::make_unique<Scratch>(); }
    void predict(const TextDecoderInputs& inputs, const TextDecoderOutputs&, Scratch&) const override {
        EXPECT_FALSE(isEncoding) << "a step during an encoding";
        if (inputs.input_ids == refused)
            throw WhisperError(WhisperError::Kind::decodingFailed, "refused");
        together.push_back(1);
    }
    void predict(std::span<const Call> calls) const override {
        EXPECT_FALSE(isEncoding) << "a step during an encoding";
        if (std::ranges::any_of(calls, [](const Call& call) { return call.inputs.input_ids == refused; }))
            throw WhisperError(WhisperError::Kind::decodingFailed, "one of several is refused");
        together.push_back(calls.size());
    }

    std::atomic<bool> isEncoding = false;
    mutable std::vector<std::size_t> together; // one call at a time
};

class StepBatches : public testing::Test {
protected:
    /// What a step of the token failed with; empty when it did not.
    std::string step(StepBatch::Window& window, int token, std::stop_token stop = {}) {
        TextDecoderModel::Scratch scratch;
        TextDecoderInputs inputs;
        inputs.input_ids = token;
        try {
            window.step({inputs, {}, scratch}, std::move(stop));
        } catch (const WhisperError& error) {
            return error.what();
        }
        return "";
    }

    std::unique_ptr<StepBatch::Window> window() { return std::make_unique<StepBatch::Window>(m_batch); }

    NotingDecoder m_model;
    StepBatch m_batch{m_model};
};

} // namespace

TEST_F(StepBatches, WindowsStepTogetherUntilTheyEnd) {
    constexpr std::size_t count = 8, shortest = 3;
    std::vector<std::unique_ptr<StepBatch::Window>> windows(count);
    std::ranges::generate(windows, [this] { return window(); });
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < count; ++i)
            threads.emplace_back([this, i, window = std::move(windows[i])]() mutable {
                for (std::size_t token = 0; token < shortest + i; ++token)
                    EXPECT_EQ(step(*window, 1), "");
                window.reset();
            });
    }
    EXPECT_EQ(m_model.together, (std::vector<std::size_t>{8, 8, 8, 7, 6, 5, 4, 3, 2, 1}));
}

TEST_F(StepBatches, AWindowThatIsRefusedOrStoppedLeavesTheOthersAlone) {
    auto first = window(), second = window(), third = window();
    std::stop_source stop;
    std::string ofFirst, ofSecond, ofThird;
    {
        std::jthread a([&] { ofFirst = step(*first, 1); });
        std::jthread b([&] { ofSecond = step(*second, refused); });
        ofThird = step(*third, 1);
    }
    EXPECT_EQ(ofFirst + ofThird, "");
    EXPECT_EQ(ofSecond, "refused");
    {
        std::jthread a([&] { ofFirst = step(*first, 1, stop.get_token()); }); // waits for the others in vain
        stop.request_stop();
    }
    EXPECT_EQ(ofFirst, "cancelled");
    first.reset();
    second.reset();
    EXPECT_EQ(step(*third, 1), "");
    EXPECT_EQ(m_model.together, (std::vector<std::size_t>{1, 1, 1}));
}

TEST_F(StepBatches, NobodyStepsDuringAnEncoding_AndOneEncodesAtATime) {
    auto decoded = window();
    std::stop_source stop;
    std::latch wants(1);
    std::string ofWaiting = "none";
    {
        std::jthread stepping, waiting;
        {
            const StepBatch::Encoding turn(m_batch, {});
            m_model.isEncoding = true;
            stepping = std::jthread([&] { EXPECT_EQ(step(*decoded, 1), ""); });
            waiting = std::jthread([&] {
                wants.count_down();
                try {
                    const StepBatch::Encoding another(m_batch, stop.get_token());
                } catch (const WhisperError& error) {
                    ofWaiting = error.what();
                }
            });
            wants.wait();
            stop.request_stop();
            waiting.join(); // although the first one is still under way
            m_model.isEncoding = false;
        }
    }
    EXPECT_EQ(ofWaiting, "cancelled");
    EXPECT_EQ(m_model.together.size(), 1u);
}
