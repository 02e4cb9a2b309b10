#pragma once

#include "WhisperEngine/Output/TranscriptWriter.h"

#include <span>
#include <string>

namespace fenlo::whisper {

std::string subRip(std::span<const TranscriptionResult> results, const SubtitleLayout& layout);
std::string webVtt(std::span<const TranscriptionResult> results, const SubtitleLayout& layout);

} // namespace fenlo::whisper
