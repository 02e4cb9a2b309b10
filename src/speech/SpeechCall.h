#pragma once

#include "speech/Transcription.h"

#include <stop_token>
#include <string>
#include <string_view>

namespace fenlo {

class Clock;
class HttpClient;

/// A speech service, and what it takes to reach it.
struct ServiceAccess {
    HttpClient& http;
    const Clock& clock;
    std::string host; // scheme and host, no path
    std::string key;
};

/// How the log and the errors speak of a service.
struct ServiceNames {
    std::string_view service;
    std::string_view destination;
    bool logsErrors = true; // false when only the caller logs an error status
};

/// Sends one clip to a service and logs it. The time that it takes counts from the construction.
///
/// Threads: one worker; every call blocks.
class SpeechCall {
public:
    SpeechCall(const ServiceAccess& access, const ServiceNames& names, const TranscribeRequest& request);

    /// The bytes of the file that goes up. Throws std::runtime_error when it cannot be read.
    std::string readClip(const std::filesystem::path& file) const;

    struct Post {
        std::string path; // and query
        std::string authorization;
        std::string contentType;
        std::string body;
        double timeout; // seconds
    };

    /// The body of a good answer. Throws HttpError when there was none, and TranscriberError networkError for any
    /// status but 200.
    std::string send(Post post, std::stop_token stop) const;

private:
    const ServiceAccess& m_access;
    const ServiceNames& m_names;
    const bool m_isDevMode;
    const double m_start;
};

} // namespace fenlo
