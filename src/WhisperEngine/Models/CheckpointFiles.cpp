#include "WhisperEngine/Models/CheckpointFiles.h"

#include "WhisperEngine/WhisperError.h"
#include "base/Files.h"
#include "hub/HubClient.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

namespace fenlo::whisper {

namespace {

constexpr const char* weights = "model.safetensors";
constexpr const char* index = "model.safetensors.index.json";
constexpr const char* shards = "model-*-of-*.safetensors";
constexpr const char* required[] = {"config.json", "tokenizer.json"};
constexpr const char* optional = "generation_config.json";

bool isFilled(const std::filesystem::path& file) {
    std::error_code error;
    return std::filesystem::is_regular_file(file, error) && std::filesystem::file_size(file, error) > 0 && !error;
}

/// None for an index that does not name any shard, or names one outside of its folder.
std::optional<std::set<std::string>> shardsOf(const std::filesystem::path& indexFile) {
    const auto json = nlohmann::json::parse(files::read(indexFile).value_or(""), nullptr, false);
    if (!json.is_object() || !json.contains("weight_map") || !json["weight_map"].is_object())
        return {};
    std::set<std::string> names;
    for (const auto& file : json["weight_map"]) {
        if (!file.is_string() || file.get_ref<const std::string&>().find('/') != std::string::npos)
            return {};
        names.insert(file.get<std::string>());
    }
    if (names.empty())
        return {};
    return names;
}

} // namespace

std::vector<std::string> checkpointFiles(const std::vector<std::string>& paths, const std::string& folder,
                                         const std::string& source) {
    const auto has = [&](const std::string& name) {
        return std::find(paths.begin(), paths.end(), folder + name) != paths.end();
    };
    std::vector<std::string> needed;
    const auto need = [&](const std::string& name) {
        if (!has(name))
            throw WhisperError(WhisperError::Kind::modelsUnavailable,
                               source + " lacks " + folder + name + "; choose another model");
        needed.push_back(folder + name);
    };
    for (const char* name : required)
        need(name);
    if (has(optional))
        needed.push_back(folder + optional);
    if (has(weights) || !has(index)) {
        need(weights);
        return needed;
    }
    need(index);
    for (const std::string& path : paths)
        if (path.starts_with(folder) && hub::matchesGlob(path.substr(folder.size()), shards))
            needed.push_back(path);
    return needed;
}

std::optional<std::string> missingCheckpointFile(const std::filesystem::path& folder) {
    for (const char* name : required)
        if (!isFilled(folder / name))
            return name;
    if (isFilled(folder / weights))
        return {};
    if (!isFilled(folder / index))
        return weights;
    const auto names = shardsOf(folder / index);
    if (!names)
        return index;
    for (const std::string& name : *names)
        if (!isFilled(folder / name))
            return name;
    return {};
}

} // namespace fenlo::whisper
