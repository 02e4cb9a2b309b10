#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// A recorded take on its way to text.
struct Take {
    std::vector<std::filesystem::path> chunks;          // still to be recognised, in order
    double duration = 0;                                // seconds
    float speechRatio = 1;                              // share of speech frames
    bool isCommand = false;                             // an instruction to the language model
    bool isCopy = false;                                // of a recording that the user keeps elsewhere
    std::vector<std::string> texts = {};                // of the chunks before these; their files are deleted
    std::optional<std::filesystem::path> isolated = {}; // made from the chunk that is being recognised
};

} // namespace fenlo
