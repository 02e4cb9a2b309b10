#include "speech/GrokProvider.h"

#include "speech/MultipartForm.h"
#include "speech/PreparedClip.h"
#include "speech/SpeechReply.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace fenlo::grok {

namespace {

constexpr ServiceNames names{.service = "Grok", .destination = "xAI Grok", .logsErrors = false};
constexpr double timeout = 120; // seconds

constexpr std::array<std::string_view, 25> languages = {"ar", "cs", "da", "nl", "en", "fil", "fr", "de", "hi",
                                                        "id", "it", "ja", "ko", "mk", "ms",  "fa", "pl", "pt",
                                                        "ro", "ru", "es", "sv", "th", "tr",  "vi"};

} // namespace

ProviderResult parseReply(std::string_view body) {
    return {speechReply::textAt(speechReply::parse(body, names.service), "text", names.service), {}};
}

ProviderResult transcribe(const ServiceAccess& access, const TranscribeRequest& request, const std::string& language,
                          std::stop_token stop) {
    const SpeechCall call(access, names, request);
    const PreparedClip clip(request.audio);
    MultipartForm form;
    form.addFile("file", clip.file.filename().string(), "audio/wav", call.readClip(clip.file));
    if (std::find(languages.begin(), languages.end(), language) != languages.end()) {
        form.addField("language", language);
        form.addField("format", "true");
    }
    return parseReply(call.send({.path = "/v1/stt",
                                 .authorization = "Bearer " + access.key,
                                 .contentType = form.contentType(),
                                 .body = form.finish(),
                                 .timeout = timeout},
                                stop));
}

} // namespace fenlo::grok
