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

#include <exception>
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

/// What became of a call that failed.
struct Failure {
    std::string message;
    bool isCancelled = false;
    bool isPassing = false; // the same request may be answered in a moment
};

Failure failureOf(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const HttpError& fault) {
        const bool isCancelled = fault.kind == HttpError::Kind::cancelled;
        return {fault.what(), isCancelled, !isCancelled};
    } catch (const SmartRewriteError& fault) {
        const bool isBusy = fault.status == 429 || fault.status > 499;
        return {fault.what(), false, fault.kind == SmartRewriteError::Kind::apiError && isBusy};
    } catch (const std::exception& fault) {
        return {fault.what()};
    }
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
                logInfo("LLM refused, falling back to raw text: '{}'",
                        text::firstCharacters(answer, shownRefusalCharacters));
                return unchanged;
            }
            logInfo("{}: {:.2f}s — '{}' → '{}'", labelOf(settings.outputMode), m_clock.now() - start, text, answer);
            return {std::move(answer), true};
        } catch (const std::exception&) {
            const Failure failure = failureOf(std::current_exception());
            if (attempt == maxAttempts || !failure.isPassing) {
                logError("SmartRewrite failed after {} attempt(s): {} — returning raw", attempt, failure.message);
                return unchanged;
            }
            logInfo("SmartRewrite: attempt {} failed ({}), retrying...", attempt, failure.message);
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
        } catch (const std::exception&) {
            const Failure failure = failureOf(std::current_exception());
            if (failure.isCancelled)
                throw;
            logInfo("Gemini failed ({}), falling back to Groq", failure.message);
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
