#pragma once

#include "platform/SystemAudioInput.h"

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace fenlo::test {

/// A computer whose sound the test makes up.
class FakeSystemAudio final : public SystemAudioInput {
public:
    Opened open(Tap tap) override {
        ++opened;
        if (whileOpening)
            whileOpening();
        if (!error.empty())
            return {nullptr, error};
        return {std::make_unique<Stream>(*this, std::move(tap)), {}};
    }

    /// The computer plays these samples.
    void hear(std::span<const float> samples) {
        if (m_stream)
            m_stream->tap(samples);
    }
    bool isOpen() const { return m_stream != nullptr; }

    std::string error;                  // of the next opening; empty for one that succeeds
    std::function<void()> whileOpening; // what happens meanwhile, on the opening thread
    int opened = 0;

private:
    struct Stream final : SystemAudioStream {
        Stream(FakeSystemAudio& o, Tap t) : owner(o), tap(std::move(t)) { owner.m_stream = this; }
        ~Stream() override {
            if (owner.m_stream == this)
                owner.m_stream = nullptr;
        }
        FakeSystemAudio& owner;
        const Tap tap;
    };

    Stream* m_stream = nullptr; // the newest one, null when it is gone
};

} // namespace fenlo::test
