#pragma once

#include "speech/SpeechCall.h"

#include <vector>

namespace fenlo::deepgram {

/// The query of the address, which tells the service about the clip. It has the first twenty terms of the vocabulary.
std::string composeQuery(const std::string& language, const std::vector<std::string>& vocabulary, bool isDevMode);

/// The text of a successful reply, and how sure the service was of it. Throws TranscriberError invalidResponse.
ProviderResult parseReply(std::string_view body);

/// Sends a clip as it is and waits for its text. Blocks; errors as groq::transcribe().
ProviderResult transcribe(const ServiceAccess& access, const TranscribeRequest& request, const std::string& language,
                          const std::vector<std::string>& vocabulary, std::stop_token stop);

} // namespace fenlo::deepgram
