#include "speech/GroqProvider.h"

#include "audio/ClipPreparation.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"
#include "settings/ApiKey.h"
#include "speech/DeveloperText.h"

#include <nlohmann/json.hpp>
#include <numeric>

namespace fenlo::groq {

namespace {

using nlohmann::json;

constexpr double timeout = 600; // seconds; a four-minute chunk on a slow uplink needs them
constexpr double shortClip = 3.0;
constexpr double doubtfulLogprob = -0.5;
constexpr double doubtfulNoSpeech = 0.3;
constexpr std::size_t maxReplyBytes = 4u << 20u;

/// The limits beyond which a segment counts as invented.
struct Thresholds {
    double noSpeech;
    double logprob;
};

Thresholds thresholdsFor(double clipDuration) {
    const bool isShort = clipDuration > 0 && clipDuration < shortClip;
    return isShort ? Thresholds{0.95, -1.8} : Thresholds{0.7, -1.0};
}

/// Deletes the prepared clip, unless it is the caller's own.
struct PreparedClip {
    explicit PreparedClip(const std::filesystem::path& original) : input(original), file(prepareClip(original)) {}
    PreparedClip(const PreparedClip&) = delete;
    PreparedClip& operator=(const PreparedClip&) = delete;
    ~PreparedClip() { removePreparedClip(file, input); }

    const std::filesystem::path input;
    const std::filesystem::path file;
};

/// A name that cannot end the quoted string or the line it stands in.
std::string quotable(std::string_view name) {
    return text::replaceAll(text::replaceAll(text::replaceAll(name, "\"", "%22"), "\r", "%0D"), "\n", "%0A");
}

SpeechForm readForm(const std::filesystem::path& clip, const std::string& language, const std::string& prompt) {
    auto audio = files::read(clip);
    if (!audio)
        throw std::runtime_error("cannot read the clip " + text::repairUtf8(clip.filename().string()));
    return {clip.filename().string(), std::move(*audio), language, prompt};
}

HttpRequest composeRequest(const Access& access, const SpeechForm& form) {
    const std::string boundary = files::makeUuid();
    HttpRequest request;
    request.method = "POST";
    request.url = access.host + "/openai/v1/audio/transcriptions";
    request.headers = {{"Authorization", "Bearer " + access.key},
                       {"Content-Type", "multipart/form-data; boundary=" + boundary}};
    request.body = composeBody(form, boundary);
    request.timeout = timeout;
    request.maxResponseBytes = maxReplyBytes;
    return request;
}

double numberAt(const json& segment, const char* name) {
    const auto found = segment.find(name);
    return found != segment.end() && found->is_number() ? found->get<double>() : 0.0;
}

void logSkipped(const char* kind, const char* name, double value, double threshold, const std::string& text) {
    log(std::string("[Fenlo] Skipping ") + kind + " segment (" + name + "=" + text::fixed(value, 2) +
        ", threshold=" + text::fixed(threshold, 2) + "): '" + text + "'");
}

ProviderResult filterSegments(const json& segments, Thresholds limit) {
    std::vector<std::string> texts;
    std::vector<double> logprobs;
    TranscriptionMeta meta;
    for (const json& segment : segments) {
        const auto found = segment.find("text");
        if (found == segment.end() || !found->is_string())
            continue;
        const auto& text = found->get_ref<const std::string&>();
        const double noSpeech = numberAt(segment, "no_speech_prob");
        const double logprob = numberAt(segment, "avg_logprob");
        if (noSpeech > limit.noSpeech) {
            logSkipped("low-confidence", "no_speech", noSpeech, limit.noSpeech, text);
            continue;
        }
        if (logprob < limit.logprob) {
            logSkipped("low-logprob", "avg_logprob", logprob, limit.logprob, text);
            continue;
        }
        texts.push_back(text);
        logprobs.push_back(logprob);
        if (logprob < doubtfulLogprob || noSpeech > doubtfulNoSpeech)
            meta.lowConfidenceRanges.push_back(text);
    }
    if (!logprobs.empty())
        meta.avgConfidence =
            std::accumulate(logprobs.begin(), logprobs.end(), 0.0) / static_cast<double>(logprobs.size());
    return {text::trimWhitespaceAndNewlines(text::join(texts, " ")), std::move(meta)};
}

} // namespace

std::string composeBody(const SpeechForm& form, std::string_view boundary) {
    std::string body;
    body.reserve(form.audio.size() + form.prompt.size() + 2048);
    const auto open = [&](std::string_view name) {
        body.append("--")
            .append(boundary)
            .append("\r\nContent-Disposition: form-data; name=\"")
            .append(name)
            .append("\"");
    };
    const auto field = [&](std::string_view name, std::string_view value) {
        open(name);
        body.append("\r\n\r\n").append(value).append("\r\n");
    };

    open("file");
    body.append("; filename=\"").append(quotable(form.fileName)).append("\"\r\nContent-Type: audio/wav\r\n\r\n");
    body.append(form.audio).append("\r\n");
    field("model", "whisper-large-v3-turbo");
    if (form.language != "auto")
        field("language", form.language);
    field("response_format", "verbose_json");
    if (!form.prompt.empty())
        field("prompt", form.prompt);
    field("temperature", "0.0");
    return body.append("--").append(boundary).append("--\r\n");
}

ProviderResult parseReply(std::string_view body, double clipDuration) {
    const json reply = json::parse(text::repairUtf8(body), nullptr, false);
    if (!reply.is_object())
        throw TranscriberError(TranscriberError::Kind::invalidResponse, "Groq's reply is no JSON object");
    if (const auto segments = reply.find("segments"); segments != reply.end() && segments->is_array())
        return filterSegments(*segments, thresholdsFor(clipDuration));
    if (const auto found = reply.find("text"); found != reply.end() && found->is_string())
        return {text::trimWhitespaceAndNewlines(found->get_ref<const std::string&>()), {}};
    throw TranscriberError(TranscriberError::Kind::invalidResponse, "Groq's reply holds neither segments nor text");
}

ProviderResult transcribe(HttpClient& http, const Clock& clock, const Access& access, const TranscribeRequest& request,
                          const std::string& language, const std::string& prompt, std::stop_token stop) {
    const double start = clock.now();
    const PreparedClip clip(request.audio);
    const SpeechForm form = readForm(clip.file, language, prompt);
    log("[Fenlo] Uploading " + std::to_string(form.audio.size() / 1024) + "KB to Groq" +
        (isDeveloperTool(request.appName) ? " (dev mode)" : "") + "…");

    const HttpResponse response = http.send(composeRequest(access, form), stop);
    log("[Fenlo] Groq responded in " + text::fixed(clock.now() - start, 2) + "s (status " +
        std::to_string(response.status) + ")");
    if (response.status != 200) {
        const std::string error = apiKey::describeError("Groq", response.status, response.body, access.key);
        log("[Fenlo] ERROR: " + error);
        throw TranscriberError(TranscriberError::Kind::networkError, error);
    }
    return parseReply(response.body, request.clipDuration);
}

} // namespace fenlo::groq
