#pragma once

#include <string>
#include <vector>

namespace fenlo {

/// A transcript after its voice commands: the remaining text and the actions to perform, in order ("undo", which cuts
/// the selection, "select_all", "copy_last").
struct VoiceCommandResult {
    std::string text;
    std::vector<std::string> actions;
};

} // namespace fenlo
