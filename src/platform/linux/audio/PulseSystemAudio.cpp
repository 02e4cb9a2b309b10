#include "platform/linux/audio/PulseSystemAudio.h"

#include "platform/linux/audio/PulseMonitorStream.h"

#include <utility>

namespace fenlo {

SystemAudioInput::Opened PulseSystemAudio::open(Tap tap) {
    auto stream = std::make_unique<PulseMonitorStream>(std::move(tap));
    if (auto error = stream->begin())
        return {nullptr, std::move(*error)};
    return {std::move(stream), {}};
}

} // namespace fenlo
