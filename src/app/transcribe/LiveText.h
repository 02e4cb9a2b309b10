#pragma once

#include "WhisperEngine/TranscriptionResult.h"
#include "app/transcribe/OrderedText.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string>

namespace fenlo {

/// Shows the text of a recording as it is found: a line for each segment, in the order of the recording, although its
/// parts may be worked on side by side. All lines together are the recording's plain-text document.
///
/// Threads: any; one line is shown at a time.
class LiveText {
public:
    explicit LiveText(std::function<void(const std::string& lines)> show);

    void add(std::size_t part, std::span<const whisper::TranscriptionSegment> segments);
    /// The part has no more segments, so that the next part's turn comes.
    void finish(std::size_t part) { m_parts.finish(part); }

private:
    OrderedText m_parts;
};

} // namespace fenlo
