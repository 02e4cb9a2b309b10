#pragma once

#include "base/Clock.h"
#include "platform/HttpClient.h"
#include "speech/Transcription.h"

#include <string>
#include <string_view>

namespace fenlo::groq {

/// The form that goes up with a clip.
struct SpeechForm {
    std::string fileName;
    std::string audio;    // the bytes of a WAV file
    std::string language; // code or "auto", which leaves the field out
    std::string prompt;   // left out when empty
};

/// The multipart body, byte for byte.
std::string composeBody(const SpeechForm& form, std::string_view boundary);

/// The text of a successful reply, without the segments that the recogniser itself doubts. Clips below three seconds
/// are judged less strictly, as single words score badly. Throws TranscriberError invalidResponse.
ProviderResult parseReply(std::string_view body, double clipDuration);

struct Access {
    std::string host; // scheme and host, no path
    std::string key;
};

/// Sends a clip and waits for its text. Blocks.
///
/// Errors: TranscriberError for an unusable answer, HttpError when there was none, std::runtime_error when the clip
///         cannot be read.
ProviderResult transcribe(HttpClient& http, const Clock& clock, const Access& access, const TranscribeRequest& request,
                          const std::string& language, const std::string& prompt, std::stop_token stop);

} // namespace fenlo::groq
