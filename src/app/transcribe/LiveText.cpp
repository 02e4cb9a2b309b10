#include "app/transcribe/LiveText.h"

#include "WhisperEngine/Output/TranscriptWriter.h"

#include <utility>

namespace fenlo {

LiveText::LiveText(std::function<void(const std::string&)> show) : m_show(std::move(show)) {}

void LiveText::add(std::size_t part, std::span<const whisper::TranscriptionSegment> segments) {
    whisper::TranscriptionResult found;
    found.segments.assign(segments.begin(), segments.end());
    const std::string lines = writeTranscript({&found, 1}, whisper::TranscriptFormat::txt);
    const std::lock_guard lock(m_mutex);
    m_parts[part].waiting += lines;
    showWhatIsDue();
}

void LiveText::finish(std::size_t part) {
    const std::lock_guard lock(m_mutex);
    m_parts[part].isFinished = true;
    showWhatIsDue();
}

/// The lock is held while lines are shown, as that is what keeps them in order.
void LiveText::showWhatIsDue() {
    for (;; ++m_current) {
        Part& part = m_parts[m_current];
        if (const std::string lines = std::exchange(part.waiting, {}); !lines.empty())
            m_show(lines);
        if (!part.isFinished)
            return;
    }
}

} // namespace fenlo
