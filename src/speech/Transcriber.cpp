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

Transcriber::Transcriber(Config& config, const Deployment& deployment, HttpClient& http, Keychain& keychain,
                         LocalTranscriber& local, RemoteConfiguration remote, ProfessionTerms professionTerms,
                         Clock& clock)
    : m_config(config), m_deployment(deployment), m_http(http), m_local(local),
      m_professionTerms(std::move(professionTerms)), m_clock(clock), m_guard(deployment.subtitleSiteDomain),
      m_keys(keychain, std::move(remote), deployment.xaiApiKey) {}

void Transcriber::setup(std::stop_token stop) {
    m_keys.setup(stop);
    if (m_keys.find(SpeechService::groq, stop))
        log("[Fenlo] Transcriber ready (provider: " + m_keys.transcriptionProvider() + ")");
}

std::string Transcriber::transcribe(const TranscribeRequest& request, std::stop_token stop) {
    m_state.with([](State& state) { state.lastMeta.reset(); });
    const Settings settings = m_config.get();
    if (goesToLocalEngine(settings))
        return transcribeLocally(request, settings, stop);
    if (settings.offlineMode)
        log("[Fenlo] Offline mode enabled but model not ready yet — falling back to cloud");
    return guardAndCleanUp(transcribeInCloud(request, settings, stop), request, "Filtered hallucination: '");
}

std::optional<std::string> Transcriber::transcribeOnDevice(const TranscribeRequest& request, std::stop_token stop) {
    const Settings settings = m_config.get();
    if (goesToLocalEngine(settings) || !m_local.isReady())
        return {};
    log("[Fenlo] The engine on this machine recognises the take instead");
    return transcribeLocally(request, settings, stop);
}

std::string Transcriber::transcribeLocally(const TranscribeRequest& request, const Settings& settings,
                                           std::stop_token stop) {
    return guardAndCleanUp(m_local.transcribe(request.audio, settings.language, stop), request,
                           "Filtered hallucination (local): '");
}

void Transcriber::warmConnection() {
    const Settings settings = m_config.get();
    if (goesToLocalEngine(settings))
        return;
    if (const SpeechService service = chosenService(settings); m_keys.isKnown(service))
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

SpeechService Transcriber::chosenService(const Settings& settings) const {
    if (settings.sttEngine == "stt81")
        return SpeechService::grok;
    return m_keys.transcriptionProvider() == "deepgram" ? SpeechService::deepgram : SpeechService::groq;
}

const std::string& Transcriber::hostOf(SpeechService service) const {
    switch (service) {
    case SpeechService::groq:
        return m_deployment.groqHost;
    case SpeechService::deepgram:
        return m_deployment.deepgramHost;
    case SpeechService::grok:
        return m_deployment.xaiHost;
    }
    std::abort();
}

/// The one place where a service is tied to its provider.
std::string Transcriber::transcribeInCloud(const TranscribeRequest& request, const Settings& settings,
                                           std::stop_token stop) {
    const SpeechService service = chosenService(settings);
    const auto key = m_keys.find(service, stop);
    if (!key)
        throw TranscriberError(TranscriberError::Kind::noAPIKey, ApiKeys::describeMissing(service));
    const ServiceAccess access{m_http, m_clock, hostOf(service), *key};
    ProviderResult result;
    switch (service) {
    case SpeechService::groq:
        result = groq::transcribe(access, request, settings.language,
                                  hintPrompt(settings, m_professionTerms, request.hintText), stop);
        break;
    case SpeechService::deepgram:
        result = deepgram::transcribe(access, request, settings.language, settings.customVocabulary, stop);
        break;
    case SpeechService::grok:
        result = grok::transcribe(access, request, settings.language, stop);
        break;
    }
    m_state.with([&](State& state) { state.lastMeta = std::move(result.meta); });
    return result.text;
}

std::string Transcriber::guardAndCleanUp(const std::string& text, const TranscribeRequest& request,
                                         const char* logHead) const {
    if (m_guard.isHallucination(text, request.speechRatio)) {
        const int percent = static_cast<int>(request.speechRatio * 100);
        log("[Fenlo] " + std::string(logHead) + text + "' (speech ratio: " + std::to_string(percent) + "%)");
        return {};
    }
    return postProcess(
        text, {.isDevTool = isDeveloperTool(request.appName), .autoCapitalize = m_config.get().autoCapitalize});
}

} // namespace fenlo
