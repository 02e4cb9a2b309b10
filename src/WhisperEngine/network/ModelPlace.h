#pragma once

#include "WhisperEngine/network/ModelComputeOptions.h"

#include <filesystem>

namespace fenlo::whisper {

/// Where a model lies: the checkpoint, and the compiled files, which have a folder of their own when nothing may be
/// written into the checkpoint's.
struct ModelPlace {
    ModelPlace(const std::filesystem::path& folder) : checkpoint(folder), compiled(folder) {} // both in one folder
    ModelPlace(std::filesystem::path checkpointFolder, std::filesystem::path compiledFolder)
        : checkpoint(std::move(checkpointFolder)), compiled(std::move(compiledFolder)) {}

    std::filesystem::path checkpoint;
    std::filesystem::path compiled;
};

/// `$XDG_CACHE_HOME/fenlo/models`, by default under ~/.cache: compiled files of models whose own folder is left alone.
std::filesystem::path compiledCache();

/// Whether a model's folder is one of those in `models`, whatever it is called here.
bool isIn(const std::filesystem::path& modelFolder, const std::filesystem::path& models);

/// Compiled files lie beside the checkpoint when they are there already, or when the folder is one of this program's
/// models (in `ownModels`) and may be written. Otherwise they go to the cache: nothing is written into a folder of
/// others. Errors: WhisperError of the kind modelsUnavailable for a checkpoint that cannot be told from others.
ModelPlace placeOf(const std::filesystem::path& modelFolder, const std::filesystem::path& ownModels,
                   const ModelComputeOptions& options);

/// Removes the cached files of the model, except those in `kept` (one of its folders, or empty).
void removeCached(const std::filesystem::path& modelFolder, const std::filesystem::path& kept = {});

} // namespace fenlo::whisper
