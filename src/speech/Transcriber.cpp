#include "speech/Transcriber.h"

#include "base/Log.h"
#include "base/Text.h"
#include "speech/DeepgramProvider.h"
#include "speech/DeveloperText.h"
#include "speech/GrokProvider.h"
#include "speech/GroqProvider.h"

#include <cstdlib>
#include <unordered_set>
#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t maxRecentTranscriptions = 3;

} // namespace

CloudService chosenRecogniser(const Settings& settings, std::string_view provider) {
    if (settings.sttEngine == SttEngine::grok)
        return CloudService::grok;
    return provider == "deepgram" ? CloudService::deepgram : CloudService::groq;
}

Transcriber::Transcriber(Config& config, const Deployment& deployment, HttpClient& http, ServiceKeys& keys,
                         LocalTranscriber& local, ProfessionTerms professionTerms, Clock& clock)
    : m_config(config), m_deployment(deployment), m_http(http), m_keys(keys), m_local(local),
      m_professionTerms(std::move(professionTerms)), m_clock(clock), m_guard(deployment.subtitleSiteDomain) {}

void Transcriber::setup(std::stop_token stop) {
    const ServiceKeys::Configuration configuration = m_keys.askRemote(stop);
    takeProvider(configuration);
    m_keys.adopt(CloudService::deepgram, configuration);
    if (keyOf(CloudService::groq, stop))
        logInfo("Transcriber ready (provider: {})", provider());
}

std::string Transcriber::transcribe(const TranscribeRequest& request, std::stop_token stop) {
    m_state.with([](State& state) { state.lastMeta.reset(); });
    const Settings settings = m_config.get();
    if (goesToLocalEngine(settings))
        return transcribeLocally(request, settings, stop);
    if (settings.offlineMode)
        logInfo("Offline mode enabled but model not ready yet — falling back to cloud");
    return guardAndCleanUp(transcribeInCloud(request, settings, stop), request, "Filtered hallucination");
}

std::optional<std::string> Transcriber::transcribeOnDevice(const TranscribeRequest& request, std::stop_token stop) {
    const Settings settings = m_config.get();
    if (goesToLocalEngine(settings) || !m_local.isReady())
        return {};
    logInfo("The engine on this machine recognises the take instead");
    return transcribeLocally(request, settings, stop);
}

std::string Transcriber::transcribeLocally(const TranscribeRequest& request, const Settings& settings,
                                           std::stop_token stop) {
    return guardAndCleanUp(m_local.transcribe(request.audio, settings.language, stop), request,
                           "Filtered hallucination (local)");
}

void Transcriber::warmConnection() {
    const Settings settings = m_config.get();
    if (goesToLocalEngine(settings))
        return;
    if (const CloudService service = chosenService(settings); m_keys.isKnown(service, KeyUse::speech))
        m_http.preconnect(hostOf(service));
}

std::optional<TranscriptionMeta> Transcriber::lastMeta() const {
    return m_state.with([](const State& state) { return state.lastMeta; });
}

void Transcriber::recordTranscription(const std::string& text) {
    const auto words = text::words(text::lower(text));
    const std::unordered_set<std::string> spoken(words.begin(), words.end());
    const Settings settings = m_config.get();
    m_state.with([&](State& state) {
        if (state.recentTranscriptions.size() >= maxRecentTranscriptions)
            state.recentTranscriptions.erase(state.recentTranscriptions.begin());
        state.recentTranscriptions.push_back(text);
        for (const auto* vocabulary : {&settings.customVocabulary, &settings.professionVocabulary})
            for (const std::string& term : *vocabulary)
                if (spoken.contains(text::lower(term)))
                    ++state.termFrequency[term];
    });
}

std::vector<std::string> Transcriber::recentTranscriptions() const {
    return m_state.with([](const State& state) { return state.recentTranscriptions; });
}

std::map<std::string, int> Transcriber::termFrequency() const {
    return m_state.with([](const State& state) { return state.termFrequency; });
}

bool Transcriber::goesToLocalEngine(const Settings& settings) const {
    return settings.offlineMode && m_local.isReady();
}

/// A configuration that came, or changed, after the set-up counts too.
CloudService Transcriber::chosenService(const Settings& settings) {
    if (const auto configuration = m_keys.remoteAtHand())
        takeProvider(*configuration);
    return chosenRecogniser(settings, provider());
}

std::string Transcriber::provider() const {
    return m_state.with([](const State& state) { return state.provider; });
}

void Transcriber::takeProvider(const ServiceKeys::Configuration& configuration) {
    if (const auto found = configuration.find("transcription_provider"); found != configuration.end())
        m_state.with([&](State& state) { state.provider = found->second; });
}

/// The look-up for Deepgram, of all services, refreshes the provider where it asks the remote configuration.
std::optional<std::string> Transcriber::keyOf(CloudService service, std::stop_token stop) {
    return m_keys.find(service, KeyUse::speech, stop, [&](const ServiceKeys::Configuration& configuration) {
        if (service == CloudService::deepgram)
            takeProvider(configuration);
    });
}

const std::string& Transcriber::hostOf(CloudService service) const {
    switch (service) {
    case CloudService::groq:
        return m_deployment.groqHost;
    case CloudService::deepgram:
        return m_deployment.deepgramHost;
    case CloudService::grok:
        return m_deployment.xaiHost;
    case CloudService::gemini: // recognises no speech
        break;
    }
    std::abort();
}

std::string Transcriber::transcribeInCloud(const TranscribeRequest& request, const Settings& settings,
                                           std::stop_token stop) {
    const CloudService service = chosenService(settings);
    const auto key = keyOf(service, stop);
    if (!key)
        throw TranscriberError(TranscriberError::Kind::noAPIKey,
                               describeMissingKey(service, KeyUse::speech, m_keys.keyringUse()));
    ProviderResult result = answerFor(cloudQuestion(service, *key, request, settings), request, stop);
    m_state.with([&](State& state) { state.lastMeta = std::move(result.meta); });
    return result.text;
}

// The only two places that know what belongs to a service.

Transcriber::CloudQuestion Transcriber::cloudQuestion(CloudService service, std::string key,
                                                      const TranscribeRequest& request,
                                                      const Settings& settings) const {
    CloudQuestion question{.service = service, .key = std::move(key), .language = settings.language};
    if (service == CloudService::groq)
        question.prompt = hintPrompt(settings, m_professionTerms, request.hintText);
    if (service == CloudService::deepgram) {
        question.vocabulary = settings.customVocabulary;
        question.isDeveloperTool = isDeveloperTool(request.appName);
    }
    return question;
}

ProviderResult Transcriber::ask(const CloudQuestion& question, const TranscribeRequest& request, std::stop_token stop) {
    const ServiceAccess access{m_http, m_clock, hostOf(question.service), question.key};
    switch (question.service) {
    case CloudService::groq:
        return groq::transcribe(access, request, question.language, question.prompt, stop);
    case CloudService::deepgram:
        return deepgram::transcribe(access, request, question.language, question.vocabulary, stop);
    case CloudService::grok:
        return grok::transcribe(access, request, question.language, stop);
    case CloudService::gemini: // is never chosen
        break;
    }
    std::abort();
}

std::string Transcriber::guardAndCleanUp(const std::string& recognised, const TranscribeRequest& request,
                                         const char* logHead) const {
    const std::string text = text::withoutControls(recognised);
    if (m_guard.isHallucination(text, request.speechRatio)) {
        const int percent = static_cast<int>(request.speechRatio * 100);
        logInfo("{}: '{}' (speech ratio: {}%)", logHead, text, percent);
        return {};
    }
    return postProcess(
        text, {.isDevTool = isDeveloperTool(request.appName), .autoCapitalize = m_config.get().autoCapitalize});
}

} // namespace fenlo
