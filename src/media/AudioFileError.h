#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace fenlo {

/// what() is one line that names the file, the fault and the remedy.
struct AudioFileError : std::runtime_error {
    AudioFileError(const std::filesystem::path& file, const std::string& faultAndRemedy)
        : std::runtime_error(file.string() + ": " + faultAndRemedy) {}
};

} // namespace fenlo
