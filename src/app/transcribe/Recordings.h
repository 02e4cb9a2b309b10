#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace fenlo {

/// A recording to transcribe.
struct InputRecording {
    std::filesystem::path file; // "-" for standard input
    std::uintmax_t bytes = 0;   // for its share of the progress; 0 when unknown

    bool isStandardInput() const { return file == "-"; }
    /// Its name in messages and in the progress.
    std::string name() const { return isStandardInput() ? "standard input" : file.string(); }
};

struct FoundRecordings {
    std::vector<InputRecording> recordings;
    std::vector<std::string> faults; // a line for each thing that could not be looked into
};

/// The recordings that a command line names, in its order. With `recursive` a folder stands for the audio and video
/// files below it, known by their extensions, in the order of their names; hidden ones, links to folders and recordings
/// that were named before are left out. Without it a folder is a fault.
FoundRecordings findRecordings(const std::vector<std::string>& names, bool recursive);

} // namespace fenlo
