#pragma once

#include <string>
#include <vector>

namespace fenlo {

/// What the voice commands made of a transcript: the text that is left, and the actions to perform, in order
/// ("undo", which cuts the selection, "select_all", "copy_last").
struct VoiceCommandResult {
    std::string text;
    std::vector<std::string> actions;
};

} // namespace fenlo
