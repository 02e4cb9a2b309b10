#include "text/SmartRewrite.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
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

const char* labelOf(OutputMode mode) {
    if (mode == OutputMode::translate)
        return "Translate";
    return mode == OutputMode::transliterate ? "Transliterate" : "SmartRewrite";
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

constexpr CloudService geminiOnly[] = {CloudService::gemini};
constexpr CloudService groqOnly[] = {CloudService::groq};
constexpr CloudService geminiThenGroq[] = {CloudService::gemini, CloudService::groq};

} // namespace

std::span<const CloudService> rewritingServices(const Settings& settings) {
    if (settings.smartRewriteModel == SmartRewriteModel::gemini)
        return geminiOnly;
    if (settings.smartRewriteModel == SmartRewriteModel::groq)
        return groqOnly;
    return geminiThenGroq;
}

bool wantsRewrite(const Settings& settings) {
    return settings.smartRewrite || isTranslating(settings);
}

SmartRewrite::SmartRewrite(Config& config, const Deployment& deployment, HttpClient& http, ServiceKeys& keys,
                           Clock& clock)
    : m_config(config), m_deployment(deployment), m_http(http), m_keys(keys), m_clock(clock) {}

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
        if (!stop.stop_requested()) // after a stop the next attempt ends at once
            m_clock.sleep(retryPause);
    }
}

std::string SmartRewrite::complete(const std::string& system, const std::string& user, std::stop_token stop) {
    const ModelPrompt prompt{system, user};
    const auto services = rewritingServices(m_config.get());
    for (const CloudService service : services.first(services.size() - 1)) {
        // Nobody waits for the key of the first while that of the last is at hand.
        if (!m_keys.findAtHand(service, KeyUse::rewriting) &&
            (m_keys.findAtHand(services.back(), KeyUse::rewriting) || !m_keys.find(service, KeyUse::rewriting, stop)))
            continue;
        try {
            return ask(service, prompt, stop);
        } catch (const std::exception&) {
            const Failure failure = failureOf(std::current_exception());
            if (failure.isCancelled)
                throw;
            logInfo("Gemini failed ({}), falling back to Groq", failure.message);
        }
    }
    return ask(services.back(), prompt, stop);
}

void SmartRewrite::warmConnection() {
    const Settings settings = m_config.get();
    if (!wantsRewrite(settings))
        return;
    for (const CloudService service : rewritingServices(settings))
        if (m_keys.isKnown(service, KeyUse::rewriting)) {
            m_http.preconnect(service == CloudService::gemini ? m_deployment.geminiHost : m_deployment.groqHost);
            return;
        }
}

std::string SmartRewrite::ask(CloudService service, const ModelPrompt& prompt, std::stop_token stop) {
    const auto key = m_keys.find(service, KeyUse::rewriting, stop);
    if (!key)
        throw SmartRewriteError(SmartRewriteError::Kind::noApiKey, describeMissingKey(service, KeyUse::rewriting));
    if (service == CloudService::gemini)
        return callGemini(m_http, {m_deployment.geminiHost, *key}, prompt, stop);
    return callGroq(m_http, {m_deployment.groqHost, *key}, prompt, stop);
}

} // namespace fenlo
