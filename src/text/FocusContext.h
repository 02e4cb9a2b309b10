#pragma once

#include <string>

namespace fenlo {

/// Where the user is about to dictate: a snapshot taken when the hotkey goes down. Rewriting and AI commands work
/// from it. Unknown texts are empty.
struct FocusContext {
    std::string appName;       // as the user knows it
    std::string appBundleId;   // as the tables of applications know it
    std::string existingText;  // of the focused control, its last 2000 characters
    std::string selectedText;  // whole
    std::string clipboardText; // the first 2000 characters
    bool hasTextField = false; // the focused element can take text
};

} // namespace fenlo
