#pragma once

#include "speech/SpeechCall.h"

namespace fenlo::groq {

/// The text of a successful reply, without the segments that the recogniser itself doubts. Clips below three seconds
/// are judged less strictly, because single words score badly. Throws TranscriberError invalidResponse.
ProviderResult parseReply(std::string_view body, double clipDuration);

/// Sends a clip and waits for its text. Blocks. `language` is a code or "auto"; an empty prompt is left out.
///
/// Errors: TranscriberError for an unusable answer, HttpError when there was none, std::runtime_error when the clip
///         cannot be read.
ProviderResult transcribe(const ServiceAccess& access, const TranscribeRequest& request, const std::string& language,
                          const std::string& prompt, std::stop_token stop);

} // namespace fenlo::groq
