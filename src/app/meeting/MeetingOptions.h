#pragma once

#include "app/transcribe/ResultPlan.h"
#include "meeting/Meeting.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// Whether a language model is to write notes.
enum class WantedNotes {
    ifPossible, // where there is a key for one
    always,     // without them the command fails
    never,
};

/// What a user wants of `fenlo meeting`.
struct MeetingOptions {
    std::vector<std::string> inputs; // files, "-" for standard input, folders
    bool recursive = false;

    MeetingMode mode = MeetingMode::meeting;
    MeetingTemplate kind = MeetingTemplate::general;
    std::optional<std::string> subject; // by default the recording's name
    std::map<int, std::string> names;   // of the speakers, by their ids

    bool offline = false; // the engine on this machine recognises it, whatever the settings say
    std::string model;    // as offline, with this model; empty for the offline model
    bool staysHere() const { return offline || !model.empty(); }
    WantedNotes notes = WantedNotes::ifPossible;

    std::filesystem::path output;          // of a single recording; empty for standard output
    std::filesystem::path outputDirectory; // a file for each recording
    ExistingResults existing = ExistingResults::keep;
    bool archive = false; // among the past meetings too

    bool quiet = false;
    bool verbose = false;
};

} // namespace fenlo
