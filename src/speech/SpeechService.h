#pragma once

namespace fenlo {

/// The cloud services that turn speech into text.
enum class SpeechService { groq, deepgram, grok };

} // namespace fenlo
