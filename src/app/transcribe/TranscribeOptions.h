#pragma once

#include "WhisperEngine/Output/TranscriptWriter.h"
#include "app/transcribe/ResultPlan.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

enum class Talk { quiet, usual, verbose, everyToken };

/// What a user wants of `fenlo transcribe`.
struct TranscribeOptions {
    std::vector<std::string> inputs; // files, "-" for standard input, folders
    bool recursive = false;
    std::optional<double> offset;   // seconds
    std::optional<double> duration; // seconds

    std::string model;               // empty for the offline model
    std::string language = "auto";   // a code, a name, or "auto"
    std::string task = "transcribe"; // or "translate"
    std::string initialPrompt;
    bool customVocabulary = false; // the terms of config.json stand in the prompt
    float temperature = 0;
    unsigned seed = 0; // of the random draws when a window is decoded again
    bool vad = false;
    bool inOnePiece = false; // a long recording is not cut into parts

    std::vector<std::string> outputs{"txt"}; // txt, srt, vtt, tsv, json
    std::filesystem::path outputDirectory;   // empty for standard output
    ExistingResults existing = ExistingResults::keep;
    bool wordTimestamps = false;
    whisper::SubtitleLayout layout;

    int threads = 0; // 0 for one a core
    bool float32 = false;
    Talk talk = Talk::usual;
    bool listLanguages = false; // and nothing else
};

} // namespace fenlo
