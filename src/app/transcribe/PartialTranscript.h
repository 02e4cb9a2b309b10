#pragma once

#include "WhisperEngine/WhisperEngine.h"

#include <filesystem>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace fenlo {

class Clock;

/// A stopped transcription continues only with the same recording, and with the same model and options as far as they
/// bear on the words and times.
struct PartialIdentity {
    std::string recording; // the hash of the file
    std::string options;   // as text
    bool operator==(const PartialIdentity&) const = default;
};

/// The content of a `.partial` file: all that the engine needs to continue, and the text so far for the user.
struct PartialTranscript {
    PartialIdentity identity;
    whisper::StoppedParts parts;
};

std::string encodePartial(const PartialTranscript& partial);
/// Nothing when the text is not the content of such a file.
std::optional<PartialTranscript> decodePartial(std::string_view json);

/// The hash of a regular file's content; nothing when it cannot be read.
std::optional<std::string> hashOfFile(const std::filesystem::path& file);

/// Collects the results of a running transcription. Writes them to the file when it is stopped, and every half minute,
/// so that a crash costs no more than that.
///
/// Threads: add() on any, the rest on one when no task runs. The lock is held while the file is written, so that an
/// older
///          state never replaces a newer one.
class PartialKeeper {
public:
    /// `partial` is where to begin: empty, or what an earlier run has left.
    PartialKeeper(std::filesystem::path file, PartialTranscript partial, Clock& clock);

    void add(std::size_t part, const whisper::TranscriptionCheckpoint& checkpoint,
             std::span<const whisper::TranscriptionSegment> segments);

    enum class Saved { nothing, written, failed };
    Saved save();

private:
    const std::filesystem::path m_file;
    Clock& m_clock;
    std::mutex m_mutex;
    PartialTranscript m_partial;
    double m_lastWrite;
};

} // namespace fenlo
