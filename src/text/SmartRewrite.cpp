#include "text/SmartRewrite.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "settings/ApiKey.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "settings/Keychain.h"
#include "text/DictationPrompt.h"
#include "text/ModelAnswer.h"

#include <utility>

namespace fenlo {

namespace {

constexpr int maxAttempts = 2;
constexpr double retryPause = 0.3; // seconds
constexpr std::size_t shownRefusalCharacters = 80;

std::string noteOnUncertainParts(const std::vector<std::string>& parts) {
    if (parts.empty())
        return {};
    return "\nNOTE: The speech recognition was uncertain about these parts: \"" + text::join(parts, "\", \"") +
           "\". ONLY correct them if they are clearly garbled or not real words. If they ARE real English words, keep "
           "them exactly as-is.";
}

std::string labelOf(const std::string& outputMode) {
    if (outputMode == "translate")
        return "Translate";
    return outputMode == "transliterate" ? "Transliterate" : "SmartRewrite";
}

bool isCancelled(const std::exception& error) {
    const auto* network = dynamic_cast<const HttpError*>(&error);
    return network && network->kind == HttpError::Kind::cancelled;
}

/// Whether the same request may come to an answer in a moment.
bool isRetryable(const std::exception& error) {
    if (dynamic_cast<const HttpError*>(&error))
        return !isCancelled(error);
    const auto* answer = dynamic_cast<const SmartRewriteError*>(&error);
    return answer && answer->kind == SmartRewriteError::Kind::apiError &&
           (answer->status == 429 || answer->status > 499);
}

SmartRewriteError noApiKey(const std::string& model, const std::string& variable) {
    return {SmartRewriteError::Kind::noApiKey,
            "no key for the language models of " + model + "; set the environment variable " + variable};
}

} // namespace

/// Where a key is found, and where it is kept then.
struct SmartRewrite::KeySource {
    const char* environment;
    const char* name; // in the remote configuration and in the secure store
    std::optional<std::string> Keys::*field;

    static const KeySource gemini;
    static const KeySource groq;
};

constexpr SmartRewrite::KeySource SmartRewrite::KeySource::gemini{"GEMINI_API_KEY", "gemini_api_key", &Keys::geminiKey};
constexpr SmartRewrite::KeySource SmartRewrite::KeySource::groq{"GROQ_API_KEY", "groq_api_key", &Keys::groqKey};

SmartRewrite::SmartRewrite(Config& config, const Deployment& deployment, HttpClient& http, Keychain& keychain,
                           RemoteConfiguration remote, Clock& clock)
    : m_config(config), m_deployment(deployment), m_http(http), m_keychain(keychain), m_remote(std::move(remote)),
      m_clock(clock) {}

Rewrite SmartRewrite::rewrite(const std::string& text, const FocusContext& context, const std::string& language,
                              const std::vector<std::string>& uncertainParts, std::stop_token stop) {
    const Rewrite unchanged{text, false};
    if (text::trimWhitespace(text).empty())
        return unchanged;

    const Settings settings = m_config.get();
    const std::string system = systemPrompt(settings, context, language) + noteOnUncertainParts(uncertainParts);
    const std::string user = userMessage(settings, text, context);
    for (int attempt = 1;; ++attempt) {
        const double start = m_clock.now();
        try {
            std::string answer = cleanResponse(complete(system, user, stop));
            if (isRefusal(answer, text)) {
                log("[Fenlo] LLM refused, falling back to raw text: '" +
                    text::firstCharacters(answer, shownRefusalCharacters) + "'");
                return unchanged;
            }
            log("[Fenlo] " + labelOf(settings.outputMode) + ": " + text::fixed(m_clock.now() - start, 2) + "s — '" +
                text + "' → '" + answer + "'");
            return {std::move(answer), true};
        } catch (const std::exception& error) {
            if (attempt == maxAttempts || !isRetryable(error)) {
                log("[Fenlo] ERROR: SmartRewrite failed after " + std::to_string(attempt) +
                    " attempt(s): " + error.what() + " — returning raw");
                return unchanged;
            }
            log("[Fenlo] SmartRewrite: attempt " + std::to_string(attempt) + " failed (" + error.what() +
                "), retrying...");
        }
        if (!stop.stop_requested()) // else the next attempt ends at once
            m_clock.sleep(retryPause);
    }
}

std::string SmartRewrite::complete(const std::string& system, const std::string& user, std::stop_token stop) {
    const ModelPrompt prompt{system, user};
    const std::string choice = m_config.get().smartRewriteModel;
    if (choice == "gemini")
        return askGemini(prompt, stop);
    if (choice != "groq" && resolveGeminiKey(stop)) {
        try {
            return askGemini(prompt, stop);
        } catch (const std::exception& error) {
            if (isCancelled(error))
                throw;
            log(std::string("[Fenlo] Gemini failed (") + error.what() + "), falling back to Groq");
        }
    }
    return askGroq(prompt, stop);
}

void SmartRewrite::warmConnection() {
    const Settings settings = m_config.get();
    if (!settings.smartRewrite && !isTranslating(settings))
        return;
    if (settings.smartRewriteModel != "groq" && isKnown(KeySource::gemini))
        m_http.preconnect(m_deployment.geminiHost);
    else if (settings.smartRewriteModel != "gemini" && isKnown(KeySource::groq))
        m_http.preconnect(m_deployment.groqHost);
}

std::string SmartRewrite::askGemini(const ModelPrompt& prompt, std::stop_token stop) {
    const auto key = resolveGeminiKey(stop);
    if (!key)
        throw noApiKey("Gemini", KeySource::gemini.environment);
    return callGemini(m_http, {m_deployment.geminiHost, *key}, prompt, stop);
}

std::string SmartRewrite::askGroq(const ModelPrompt& prompt, std::stop_token stop) {
    const auto key = resolveGroqKey(stop);
    if (!key)
        throw noApiKey("Groq", KeySource::groq.environment);
    return callGroq(m_http, {m_deployment.groqHost, *key}, prompt, stop);
}

std::optional<std::string> SmartRewrite::resolveGeminiKey(std::stop_token stop) {
    return resolve(KeySource::gemini, stop);
}

std::optional<std::string> SmartRewrite::resolveGroqKey(std::stop_token stop) {
    return resolve(KeySource::groq, stop);
}

std::optional<std::string> SmartRewrite::resolve(const KeySource& source, std::stop_token stop) {
    if (auto known = m_keys.with([&](const Keys& keys) { return keys.*source.field; }))
        return known;
    const std::string key = find(source, stop);
    if (key.empty())
        return {};
    return m_keys.with([&](Keys& keys) { return keys.*source.field = key; });
}

std::string SmartRewrite::find(const KeySource& source, std::stop_token stop) const {
    if (auto key = apiKey::fromEnvironment(source.environment); !key.empty())
        return key;
    if (m_remote)
        if (auto key = apiKey::valueOf(m_remote(stop), source.name); !key.empty())
            return key;
    return apiKey::clean(m_keychain.load(source.name).value_or(""));
}

bool SmartRewrite::isKnown(const KeySource& source) const {
    return m_keys.with([&](const Keys& keys) { return (keys.*source.field).has_value(); }) ||
           !apiKey::fromEnvironment(source.environment).empty();
}

} // namespace fenlo
