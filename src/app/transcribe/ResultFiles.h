#pragma once

#include <filesystem>

namespace fenlo {

/// Makes the folder if it is missing and checks that files can be written into it, before hours of work depend on that.
/// Throws std::runtime_error with a line for the user.
void makeResultFolder(const std::filesystem::path& folder);

/// Also true for a dangling link, since writing would follow it.
bool resultExists(const std::filesystem::path& file);

} // namespace fenlo
