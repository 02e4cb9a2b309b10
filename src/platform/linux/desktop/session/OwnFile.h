#pragma once

#include <filesystem>

namespace fenlo {

/// This program's file, also where an update has replaced it since it started. Empty where /proc is missing.
///
/// Threads: any.
std::filesystem::path ownFile();

} // namespace fenlo
