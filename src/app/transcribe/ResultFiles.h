#pragma once

#include <filesystem>

namespace fenlo {

/// Makes the folder where it is missing, and tries whether files can be written into it, before hours of work depend on
/// it. Throws std::runtime_error with a line for the user.
void makeResultFolder(const std::filesystem::path& folder);

/// Also for a link that leads nowhere, which would be written through.
bool resultExists(const std::filesystem::path& file);

} // namespace fenlo
