#pragma once

#include "platform/Workspace.h"

#include <optional>
#include <span>
#include <string_view>

namespace fenlo {

/// A well-known program. `key` is its window class, instance or desktop file in lower case.
struct KnownApplication {
    std::string_view key;
    std::string_view id;
    std::optional<PasteChord> terminal;      // how a terminal emulator pastes
    PasteChord paste = PasteChord::controlV; // how any other program does
};

std::span<const KnownApplication> knownApplications();

/// A category of desktop files and the word that an id of this kind holds.
struct KnownCategory {
    std::string_view category;
    std::string_view word;
};

/// In order: the first that an application has counts.
std::span<const KnownCategory> knownCategories();

} // namespace fenlo
