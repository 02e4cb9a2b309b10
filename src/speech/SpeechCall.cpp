#include "speech/SpeechCall.h"

#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"
#include "platform/HttpClient.h"
#include "settings/ApiKey.h"
#include "speech/DeveloperText.h"

#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t maxReplyBytes = 4u << 20u;

} // namespace

SpeechCall::SpeechCall(const ServiceAccess& access, const ServiceNames& names, const TranscribeRequest& request)
    : m_access(access), m_names(names), m_isDevMode(isDeveloperTool(request.appName)), m_start(access.clock.now()) {}

std::string SpeechCall::readClip(const std::filesystem::path& file) const {
    auto bytes = files::read(file);
    if (!bytes)
        throw std::runtime_error("cannot read the clip " + text::repairUtf8(file.filename().string()));
    logInfo("Uploading {}KB to {}{}…", bytes->size() / 1024, m_names.destination, m_isDevMode ? " (dev mode)" : "");
    return std::move(*bytes);
}

std::string SpeechCall::send(Post post, std::stop_token stop) const {
    HttpRequest request;
    request.method = "POST";
    request.url = m_access.host + post.path;
    request.headers = {{"Authorization", std::move(post.authorization)}, {"Content-Type", std::move(post.contentType)}};
    request.body = std::move(post.body);
    request.timeout = post.timeout;
    request.maxResponseBytes = maxReplyBytes;

    HttpResponse response = m_access.http.send(request, stop);
    logInfo("{} responded in {:.2f}s (status {})", m_names.service, m_access.clock.now() - m_start, response.status);
    if (response.status != 200) {
        const std::string error = apiKey::describeError(m_names.service, response.status, response.body, m_access.key);
        if (m_names.logsErrors)
            logError("{}", error);
        throw TranscriberError(TranscriberError::Kind::networkError, error, response.status);
    }
    return std::move(response.body);
}

} // namespace fenlo
