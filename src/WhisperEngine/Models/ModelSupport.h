#pragma once

#include "WhisperEngine/Logging.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// Which models suit which device.
namespace fenlo::whisper {

struct ModelSupport {
    std::string defaultModel;           // "default" in JSON
    std::vector<std::string> supported; // model names, as a repository has them
    std::vector<std::string> disabled;  // known models that are not supported; not in JSON
};

struct DeviceSupport {
    std::string chips;
    std::vector<std::string> identifiers; // beginnings of hardware identifiers
    ModelSupport models;
};

struct ModelSupportConfig {
    std::string repoName;
    std::string repoVersion;
    std::vector<DeviceSupport> deviceSupports;
    std::vector<std::string> knownModels; // every supported model once, in the order of the rows
    ModelSupport defaultSupport;          // for devices that no row names

    /// Fills the fields that follow from the rows.
    static ModelSupportConfig of(std::string repoName, std::string repoVersion, std::vector<DeviceSupport> rows);

    /// Reads a repository's "config.json". Throws WhisperError (modelsUnavailable) for anything else.
    static ModelSupportConfig parse(std::string_view json);
    std::string toJson() const;

    /// The built-in configuration, used when a repository has none.
    static const ModelSupportConfig& fallback();

    /// The first row that the identifier belongs to, or the default.
    const ModelSupport& supportFor(const std::string& hardwareIdentifier, const Logging& log) const;
};

/// The maker's name for this machine's model; the processor architecture when the firmware gives none.
std::string hardwareIdentifier(const std::filesystem::path& productName = "/sys/class/dmi/id/product_name");

} // namespace fenlo::whisper
