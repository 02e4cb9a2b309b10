#pragma once

#include <filesystem>

namespace fenlo {

class Config;

/// Cuts other people's voices out of a recording: windows that do not sound like the stored profile are removed. In
/// case of doubt the recording stays as it is.
///
/// Threads: workers; the profile is read on each call.
/// Errors:  none; when anything fails, the given file is returned.
class VoiceIsolation {
public:
    VoiceIsolation(Config& config, std::filesystem::path profileFile);

    /// The file to transcribe: the given one, or a new temporary one that is the caller's to delete.
    std::filesystem::path isolateVoice(const std::filesystem::path& chunk) const;

private:
    Config& m_config;
    const std::filesystem::path m_profileFile;
};

} // namespace fenlo
