#pragma once

#include "base/Clock.h"
#include "base/Guarded.h"
#include "platform/HttpClient.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "settings/ServiceKeys.h"
#include "speech/EarlyAnswers.h"
#include "speech/HintPrompt.h"
#include "speech/LocalTranscriber.h"
#include "speech/TranscriptGuards.h"
#include "speech/Transcription.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

/// The service that clips go to by the settings and by the provider that the remote configuration names.
CloudService chosenRecogniser(const Settings& settings, std::string_view provider);

/// The one entrance through which audio becomes text: chooses the engine on this machine or a cloud service, guards
/// against invented text, and tidies what is left.
///
/// Threads: any. setup() and transcribe() block and belong on workers. Several clips may be transcribed at once;
///          lastMeta() belongs to the one that finished last. The other functions never block.
/// Errors:  transcribe() throws TranscriberError, HttpError or the local engine's error; it does not retry.
class Transcriber {
public:
    Transcriber(Config& config, const Deployment& deployment, HttpClient& http, ServiceKeys& keys,
                LocalTranscriber& local, ProfessionTerms professionTerms, Clock& clock);

    /// Loads keys and the choice of provider, once at start.
    void setup(std::stop_token stop);

    /// The text, possibly empty, without control characters.
    std::string transcribe(const TranscribeRequest& request, std::stop_token stop);

    /// The text by the engine on this machine, for a clip that the cloud service failed on. Nothing when the engine is
    /// not ready, or is the one that transcribe() asks anyway.
    std::optional<std::string> transcribeOnDevice(const TranscribeRequest& request, std::stop_token stop);

    /// Opens a connection to the service that the next clip will go to, when its key is at hand.
    void warmConnection();

    // Ahead of the end of a take: TranscribeAhead.cpp. What is found is used by transcribe() where the finished take
    // asks for just the same: the same sound, and the same words, language and choices with it.

    /// How much of a take may be recognised before its end. A sound leaves this machine so only if the user allows it.
    EarlyReach earlyReach() const { return earlyReach(m_config.get()); }
    void beginTake();
    void endTake();
    void forgetTake();
    /// The text of a chunk that was cut, by the engine or the service that the finished take would ask. Between
    /// beginTake() and endTake(), one at a time. Throws as transcribe() does, and where earlyReach() forbids it.
    std::string recogniseAhead(const TranscribeRequest& chunk, const std::stop_source& stop);
    /// The beginning of a chunk, by the engine on this machine.
    LocalTranscriber::Heard recogniseAhead(std::span<const float> samples, LocalTranscriber::Extent extent,
                                           const TranscribeRequest& about, const std::stop_source& stop);

    std::optional<TranscriptionMeta> lastMeta() const;

    /// Notes a text that was delivered.
    void recordTranscription(const std::string& text);

    std::vector<std::string> recentTranscriptions() const; // oldest first, at most three
    std::map<std::string, int> termFrequency() const;      // uses of vocabulary terms, as the vocabulary writes them

private:
    struct State {
        std::vector<std::string> recentTranscriptions;
        std::map<std::string, int> termFrequency;
        std::optional<TranscriptionMeta> lastMeta;
        std::string provider = "groq"; // as the remote configuration names it
    };

    /// All that the answer of a service depends on.
    struct CloudQuestion {
        CloudService service = CloudService::groq;
        std::string key;
        std::string language;
        std::string prompt = {};                  // Groq
        std::vector<std::string> vocabulary = {}; // Deepgram
        bool isDeveloperTool = false;             // Deepgram
        std::array<std::uint8_t, 32> sound{};     // SHA-256 of the clip's file
        bool operator==(const CloudQuestion&) const = default;
    };

    bool goesToLocalEngine(const Settings& settings) const;
    EarlyReach earlyReach(const Settings& settings) const;
    CloudService chosenService(const Settings& settings);
    std::string provider() const;
    void takeProvider(const ServiceKeys::Configuration& configuration);
    std::optional<std::string> keyOf(CloudService service, std::stop_token stop);
    std::string transcribeLocally(const TranscribeRequest& request, const Settings& settings, std::stop_token stop);
    std::string transcribeInCloud(const TranscribeRequest& request, const Settings& settings, std::stop_token stop);
    CloudQuestion cloudQuestion(CloudService service, std::string key, const TranscribeRequest& request,
                                const Settings& settings) const;
    ProviderResult ask(const CloudQuestion& question, const TranscribeRequest& request, std::stop_token stop);
    ProviderResult answerFor(CloudQuestion question, const TranscribeRequest& request, std::stop_token stop);
    std::string uploadAhead(const TranscribeRequest& chunk, const Settings& settings, const std::stop_source& stop);
    [[noreturn]] static void throwCancelled();
    const std::string& hostOf(CloudService service) const;
    std::string guardAndCleanUp(const std::string& recognised, const TranscribeRequest& request,
                                const char* logHead) const;

    Config& m_config;
    const Deployment& m_deployment;
    HttpClient& m_http;
    ServiceKeys& m_keys;
    LocalTranscriber& m_local;
    const ProfessionTerms m_professionTerms;
    Clock& m_clock;
    const HallucinationGuard m_guard;
    Guarded<State> m_state;
    EarlyAnswers<CloudQuestion, ProviderResult> m_early{throwCancelled};
};

} // namespace fenlo
