#include "speech/ClipEngine.h"

#include "WhisperEngine/WhisperEngine.h"

#include <utility>

namespace fenlo {

LocalTranscriber::Engine clipEngine(std::shared_ptr<const whisper::WhisperEngine> engine) {
    return [engine = std::move(engine)](const LocalTranscriber::Clip& clip, const whisper::DecodingOptions& options,
                                        const std::stop_token& stop) {
        whisper::TranscriptionCallbacks callbacks;
        callbacks.answer = clip.answer;
        if (clip.checkpoint)
            callbacks.checkpoint = [&](std::size_t, const auto& checkpoint, auto segments) {
                clip.checkpoint(checkpoint, segments);
            };
        return std::visit([&](const auto& sound) { return engine->transcribe(sound, options, callbacks, stop); },
                          clip.sound);
    };
}

} // namespace fenlo
