#include "speech/GroqProvider.h"

#include "base/Log.h"
#include "base/Text.h"
#include "speech/MultipartForm.h"
#include "speech/PreparedClip.h"
#include "speech/SpeechReply.h"

#include <nlohmann/json.hpp>
#include <numeric>

namespace fenlo::groq {

namespace {

using nlohmann::json;

constexpr ServiceNames names{.service = "Groq", .destination = "Groq"};
constexpr double timeout = 600; // seconds; a four-minute chunk on a slow uplink needs them
constexpr double shortClip = 3.0;
constexpr double doubtfulLogprob = -0.5;
constexpr double doubtfulNoSpeech = 0.3;

/// The limits beyond which a segment counts as invented.
struct Thresholds {
    double noSpeech;
    double logprob;
};

Thresholds thresholdsFor(double clipDuration) {
    const bool isShort = clipDuration > 0 && clipDuration < shortClip;
    return isShort ? Thresholds{0.95, -1.8} : Thresholds{0.7, -1.0};
}

void logSkipped(const char* kind, const char* name, double value, double threshold, const std::string& text) {
    logInfo("Skipping {} segment ({}={:.2f}, threshold={:.2f}): '{}'", kind, name, value, threshold, text);
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
        const double noSpeech = speechReply::numberAt(segment, "no_speech_prob", 0);
        const double logprob = speechReply::numberAt(segment, "avg_logprob", 0);
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

ProviderResult parseReply(std::string_view body, double clipDuration) {
    const json reply = speechReply::parse(body, names.service);
    if (const auto segments = reply.find("segments"); segments != reply.end() && segments->is_array())
        return filterSegments(*segments, thresholdsFor(clipDuration));
    return {speechReply::textAt(reply, "text", names.service), {}};
}

ProviderResult transcribe(const ServiceAccess& access, const TranscribeRequest& request, const std::string& language,
                          const std::string& prompt, std::stop_token stop) {
    const SpeechCall call(access, names, request);
    const PreparedClip clip(request.audio);
    MultipartForm form;
    form.addFile("file", clip.file.filename().string(), "audio/wav", call.readClip(clip.file));
    form.addField("model", "whisper-large-v3-turbo");
    if (language != "auto")
        form.addField("language", language);
    form.addField("response_format", "verbose_json");
    if (!prompt.empty())
        form.addField("prompt", prompt);
    form.addField("temperature", "0.0");
    const std::string reply = call.send({.path = "/openai/v1/audio/transcriptions",
                                         .authorization = "Bearer " + access.key,
                                         .contentType = form.contentType(),
                                         .body = form.finish(),
                                         .timeout = timeout},
                                        stop);
    return parseReply(reply, request.clipDuration);
}

} // namespace fenlo::groq
