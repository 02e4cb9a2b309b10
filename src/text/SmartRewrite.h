#pragma once

#include "settings/ServiceKeys.h"
#include "text/FocusContext.h"
#include "text/LanguageModelCalls.h"
#include "text/Rewrite.h"

#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class Clock;
class Config;
class HttpClient;
struct Deployment;
struct Settings;

/// The language models that the settings choose, in the order in which they are asked.
std::span<const CloudService> rewritingServices(const Settings& settings);

/// Whether the settings have dictations rewritten.
bool wantsRewrite(const Settings& settings);

/// The only gateway to the large language models. A dictation never fails because of it: after every fault the text
/// stays as it was spoken.
///
/// Threads: any. rewrite() and complete() block and belong on workers; several calls may run at once.
///          warmConnection() never blocks.
/// Errors:  rewrite() throws nothing and says in its result that nothing was changed; complete() throws what
///          callGemini() and callGroq() throw, and SmartRewriteError noApiKey.
class SmartRewrite {
public:
    SmartRewrite(Config& config, const Deployment& deployment, HttpClient& http, ServiceKeys& keys, Clock& clock);

    /// Corrects and formats a transcript for the application in front. `language` is a code or "auto"; `uncertainParts`
    /// are the words that the recogniser was unsure of.
    Rewrite rewrite(const std::string& text, const FocusContext& context, const std::string& language,
                    const std::vector<std::string>& uncertainParts, std::stop_token stop);

    /// Asks the model that the settings name, or under "auto" Gemini and, when that fails, Groq.
    std::string complete(const std::string& system, const std::string& user, std::stop_token stop);

    /// Opens the connection that the next call will take, when its key is at hand and the settings want a rewrite.
    void warmConnection();

private:
    std::string ask(CloudService service, const ModelPrompt& prompt, std::stop_token stop);

    Config& m_config;
    const Deployment& m_deployment;
    HttpClient& m_http;
    ServiceKeys& m_keys;
    Clock& m_clock;
};

} // namespace fenlo
