#include "app/transcribe/LiveText.h"

#include "WhisperEngine/Output/TranscriptWriter.h"

#include <utility>

namespace fenlo {

LiveText::LiveText(std::function<void(const std::string&)> show) : m_parts(std::move(show)) {}

void LiveText::add(std::size_t part, std::span<const whisper::TranscriptionSegment> segments) {
    whisper::TranscriptionResult found;
    found.segments.assign(segments.begin(), segments.end());
    m_parts.add(part, writeTranscript({&found, 1}, whisper::TranscriptFormat::txt));
}

} // namespace fenlo
