#include "WhisperEngine/network/CheckpointFiles.h"

#include "WhisperEngine/network/ModelFault.h"
#include "WhisperEngine/network/ModelJson.h"

#include <nlohmann/json.hpp>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t mostShards = 256;

bool isThere(const fs::path& file) {
    std::error_code error;
    return fs::exists(file, error);
}

bool isFilled(const fs::path& file) {
    std::error_code error;
    return fs::is_regular_file(file, error) && fs::file_size(file, error) > 0 && !error;
}

/// A name in the index is that of a neighbour, never a path that leads elsewhere.
bool isNeighbour(const std::string& name) {
    return name.ends_with(".safetensors") && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

} // namespace

std::set<std::string> weightsFiles(const fs::path& folder) {
    const fs::path index = folder / checkpointFiles::index;
    if (isThere(folder / checkpointFiles::weights) || !isThere(index))
        return {checkpointFiles::weights};
    const nlohmann::json document = readModelJson(index);
    const auto map = document.find("weight_map");
    std::set<std::string> names;
    if (map != document.end() && map->is_object()) {
        for (const auto& [tensor, shard] : map->items()) {
            if (!shard.is_string() || !isNeighbour(shard.get<std::string>()))
                throw ModelDamage(index.string() + " names a file that is no neighbour");
            names.insert(shard.get<std::string>());
        }
    }
    if (names.empty() || names.size() > mostShards)
        throw ModelDamage(index.string() + " names no weights, or too many files");
    return names;
}

std::optional<std::string> checkpointFault(const fs::path& folder) {
    try {
        std::set<std::string> names = weightsFiles(folder);
        names.insert(std::begin(checkpointFiles::required), std::end(checkpointFiles::required));
        for (const std::string& name : names)
            if (!isFilled(folder / name))
                return "lacks " + name;
    } catch (const ModelDamage& damage) {
        return "is damaged: " + damage.fault;
    }
    return {};
}

} // namespace fenlo::whisper
