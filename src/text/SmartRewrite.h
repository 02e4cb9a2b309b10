#pragma once

#include "base/Guarded.h"
#include "settings/RemoteConfiguration.h"
#include "text/FocusContext.h"
#include "text/LanguageModelCalls.h"
#include "text/Rewrite.h"

#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class Clock;
class Config;
class HttpClient;
class Keychain;
struct Deployment;

/// The one gateway to the large language models. A dictation never fails because of it: every fault ends in the text as
/// it was spoken.
///
/// Threads: any. rewrite() and complete() block and belong on workers; several calls may be on their way at once.
///          warmConnection() never blocks.
/// Errors:  rewrite() throws nothing and says in its result that nothing was changed; complete() throws what
///          callGemini() and callGroq() throw, and SmartRewriteError noApiKey.
class SmartRewrite {
public:
    SmartRewrite(Config& config, const Deployment& deployment, HttpClient& http, Keychain& keychain,
                 RemoteConfiguration remote, Clock& clock);

    /// Corrects and formats a transcript for the application in front. `language` is a code or "auto"; `uncertainParts`
    /// are the words that the recogniser was unsure of.
    Rewrite rewrite(const std::string& text, const FocusContext& context, const std::string& language,
                    const std::vector<std::string>& uncertainParts, std::stop_token stop);

    /// Asks the model of the settings, or under "auto" Gemini and then Groq; once each.
    std::string complete(const std::string& system, const std::string& user, std::stop_token stop);

    /// Opens the connection that the next call will take, when its key is at hand and the settings want a rewrite.
    void warmConnection();

private:
    struct Keys {
        std::optional<std::string> groqKey;
        std::optional<std::string> geminiKey;
    };
    struct KeySource;

    std::string askGemini(const ModelPrompt& prompt, std::stop_token stop);
    std::string askGroq(const ModelPrompt& prompt, std::stop_token stop);

    // The key in memory or, failing that, the one that is found now.
    std::optional<std::string> resolveGeminiKey(std::stop_token stop);
    std::optional<std::string> resolveGroqKey(std::stop_token stop);
    std::optional<std::string> resolve(const KeySource& source, std::stop_token stop);
    std::string find(const KeySource& source, std::stop_token stop) const;
    bool isKnown(const KeySource& source) const;

    Config& m_config;
    const Deployment& m_deployment;
    HttpClient& m_http;
    Keychain& m_keychain;
    const RemoteConfiguration m_remote;
    Clock& m_clock;
    Guarded<Keys> m_keys; // held until the program ends
};

} // namespace fenlo
