// Transcriber: what it does while the user still speaks, and what the finished take has of it.

#include "WhisperEngine/network/Digest.h"
#include "base/Files.h"
#include "base/Log.h"
#include "speech/Transcriber.h"

#include <utility>

namespace fenlo {

namespace {

/// Whoever asks the service complains about a clip that cannot be read.
std::array<std::uint8_t, 32> soundOf(const std::filesystem::path& clip) {
    return whisper::sha256(files::read(clip).value_or(""));
}

} // namespace

void Transcriber::throwCancelled() {
    throw HttpError(HttpError::Kind::cancelled, "cancelled");
}

/// The voice is picked out of a whole chunk, which nobody does before it is needed. In offline mode nothing goes to a
/// service while the engine may still get ready for the finished take.
EarlyReach Transcriber::earlyReach(const Settings& settings) const {
    if (settings.voiceIsolation)
        return EarlyReach::nothing;
    if (goesToLocalEngine(settings))
        return EarlyReach::everything;
    return settings.uploadWhileSpeaking && !settings.offlineMode ? EarlyReach::chunks : EarlyReach::nothing;
}

void Transcriber::beginTake() {
    m_local.early().begin();
    m_early.begin();
}

void Transcriber::endTake() {
    m_local.early().finish();
    m_early.finish();
}

void Transcriber::forgetTake() {
    m_local.early().forget();
    m_early.forget();
}

std::string Transcriber::recogniseAhead(const TranscribeRequest& chunk, const std::stop_source& stop) {
    const Settings settings = m_config.get();
    switch (earlyReach(settings)) {
    case EarlyReach::everything:
        return guardAndCleanUp(m_local.recogniseAhead(chunk.audio, settings.language, stop), chunk, "");
    case EarlyReach::chunks:
        return uploadAhead(chunk, settings, stop);
    case EarlyReach::nothing:
        break;
    }
    throwCancelled();
}

LocalTranscriber::Heard Transcriber::recogniseAhead(std::span<const float> samples, LocalTranscriber::Extent extent,
                                                    const TranscribeRequest& about, const std::stop_source& stop) {
    auto heard = m_local.recogniseAhead(samples, extent, m_config.get().language, stop);
    heard.text = guardAndCleanUp(heard.text, about, "");
    return heard;
}

/// Nobody is asked for a key: that can wait for the end of the take.
std::string Transcriber::uploadAhead(const TranscribeRequest& chunk, const Settings& settings,
                                     const std::stop_source& stop) {
    const CloudService service = chosenService(settings);
    const auto key =
        m_keys.isKnown(service, KeyUse::speech) ? keyOf(service, stop.get_token()) : std::optional<std::string>();
    if (!key)
        throw TranscriberError(TranscriberError::Kind::noAPIKey, "the service's key is not at hand");
    CloudQuestion question = cloudQuestion(service, *key, chunk, settings);
    question.sound = soundOf(chunk.audio);
    const ProviderResult result = m_early.ahead(question, stop, [&] { return ask(question, chunk, stop.get_token()); });
    return guardAndCleanUp(result.text, chunk, "Filtered hallucination");
}

/// What a service says of a chunk does not depend on how long the take is: one that is cut lasts for minutes.
ProviderResult Transcriber::answerFor(CloudQuestion question, const TranscribeRequest& request, std::stop_token stop) {
    if (!m_early.hasAny())
        return ask(question, request, stop);
    question.sound = soundOf(request.audio);
    const std::size_t takenBefore = m_early.taken();
    ProviderResult result = m_early.finished(question, stop, [&] { return ask(question, request, stop); });
    if (m_early.taken() > takenBefore)
        logInfo("The chunk was uploaded before the end");
    return result;
}

} // namespace fenlo
