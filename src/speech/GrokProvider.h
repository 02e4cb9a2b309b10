#pragma once

#include "speech/SpeechCall.h"

namespace fenlo::grok {

/// The text of a successful reply; the service tells nothing about how sure it was. Throws TranscriberError
/// invalidResponse.
ProviderResult parseReply(std::string_view body);

/// Sends a clip and waits for its text. The service detects a language that it cannot format. Blocks;
/// errors as groq::transcribe().
ProviderResult transcribe(const ServiceAccess& access, const TranscribeRequest& request, const std::string& language,
                          std::stop_token stop);

} // namespace fenlo::grok
