#pragma once

#include "platform/HttpClient.h"

#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>

/// The requests to the two large language models, and what comes back.
namespace fenlo {

/// What a language model is asked.
struct ModelPrompt {
    std::string system;
    std::string user;
    int maxAnswerTokens = 4096; // a longer answer is cut off
};

/// Where a model is called, and with which key.
struct ModelAccess {
    std::string host; // scheme and host, no path
    std::string key;
};

/// A call without a usable answer. what() is one line, free of secrets.
struct SmartRewriteError : std::runtime_error {
    enum class Kind { apiError, parseError, noApiKey };
    SmartRewriteError(Kind reason, const std::string& message, int httpStatus = 0)
        : std::runtime_error(message), kind(reason), status(httpStatus) {}
    Kind kind;
    int status; // of an apiError
};

/// Asks the model once and returns its trimmed answer. Blocks.
///
/// Threads: workers.
/// Errors:  SmartRewriteError for an unusable answer, HttpError when there was none, std::runtime_error for a body that
///          is not JSON. All are one line without the key and with at most the start of what the service wrote.
std::string callGemini(HttpClient& http, const ModelAccess& access, const ModelPrompt& prompt, std::stop_token stop);
std::string callGroq(HttpClient& http, const ModelAccess& access, const ModelPrompt& prompt, std::stop_token stop);

/// The pure parts of the calls: the body of the request, and the answer in the body of the reply. parseReply() throws
/// as the calls do.
namespace gemini {
std::string composeBody(const ModelPrompt& prompt);
std::string parseReply(std::string_view body);
} // namespace gemini
namespace groqChat {
std::string composeBody(const ModelPrompt& prompt);
std::string parseReply(std::string_view body);
} // namespace groqChat

} // namespace fenlo
