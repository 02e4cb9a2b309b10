#pragma once

#include <filesystem>
#include <stop_token>

namespace fenlo {

/// Shows a file by the file manager's interface on the session bus, or where no file manager offers that opens its
/// folder. Does nothing for a file that is not there.
///
/// Threads: any; blocks for some seconds at most.
void showInFolder(const std::filesystem::path& file, std::stop_token stop);

} // namespace fenlo
