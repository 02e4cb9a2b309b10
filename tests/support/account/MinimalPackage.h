#pragma once

#include <string>

namespace fenlo::test {

/// The bytes of a Debian package for this machine that installs nothing, with the name of Fenlo's and this version.
std::string minimalPackage(const std::string& version);

} // namespace fenlo::test
