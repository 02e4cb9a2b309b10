#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace fenlo {

/// A recording to transcribe.
struct InputRecording {
    std::filesystem::path file; // "-" for standard input
    std::uintmax_t bytes = 0;   // for the share of the progress; 0 where it is not known

    bool isStandardInput() const { return file == "-"; }
    /// As messages and the progress call it.
    std::string name() const { return isStandardInput() ? "standard input" : file.string(); }
};

struct FoundRecordings {
    std::vector<InputRecording> recordings;
    std::vector<std::string> faults; // a line for each thing that could not be looked into
};

/// The recordings that a command line names, in its order. With `recursive` a folder stands for the audio and video
/// files below it, known by their extensions, in the order of their names; hidden ones and links to folders are left
/// out, and so is what was named before. Without it a folder is a fault.
FoundRecordings findRecordings(const std::vector<std::string>& names, bool recursive);

} // namespace fenlo
