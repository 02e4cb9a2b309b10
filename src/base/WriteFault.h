#pragma once

#include <string>

namespace fenlo::files {

/// Why a file could not be written, for a person, from the number in errno: "the disk is full".
std::string writeFault(int error);

} // namespace fenlo::files
