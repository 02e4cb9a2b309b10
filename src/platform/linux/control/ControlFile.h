#pragma once

#include <filesystem>

namespace fenlo {

/// The folder for sockets and locks of the running program: the session's runtime folder, or the folder of the
/// program's data when there is none.
std::filesystem::path runtimeFolder();

/// The socket at which the running program takes orders.
std::filesystem::path controlFile();

} // namespace fenlo
