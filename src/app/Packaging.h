#pragma once

#include <filesystem>
#include <string>

namespace fenlo {

/// How this copy came to this machine: what the file share/fenlo/packaging beside the program says, such as "Debian
/// package"; "built from source" where there is none.
std::string packagingType();

/// "Debian package, build 1a2b3c4d5e6f (GCC 12.2.0, x86_64), Qt 6.4.2".
std::string packagingLine();

/// What `fenlo --version` prints: the version on a line of its own, then packagingLine().
std::string versionText();

/// The licences of Fenlo and of what is in it, as they were installed; empty where they were not.
std::filesystem::path noticesFile();

} // namespace fenlo
