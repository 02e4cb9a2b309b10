#pragma once

#include <filesystem>

namespace fenlo {

/// A piece of the recording whose words are not known yet.
struct KeptChunk {
    int number = 0;                  // the `index` of its segment
    double timestamp = 0;            // seconds from the start of the meeting to its end
    int speaker = 0;                 // id
    int failures = 0;                // how often its transcription failed
    std::filesystem::path file = {}; // WAV, mono, 16 kHz; set when it has one
};

} // namespace fenlo
