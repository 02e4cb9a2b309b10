#include "WhisperEngine/Models/NeededFiles.h"

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/CheckpointFiles.h"
#include "hub/HubClient.h"

#include <algorithm>

namespace fenlo::whisper {

std::vector<std::string> neededFiles(const std::vector<std::string>& paths, const std::string& folder,
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
    for (const char* name : checkpointFiles::required)
        need(name);
    if (has(checkpointFiles::generation))
        needed.push_back(folder + checkpointFiles::generation);
    if (has(checkpointFiles::weights) || !has(checkpointFiles::index)) {
        need(checkpointFiles::weights);
        return needed;
    }
    need(checkpointFiles::index);
    for (const std::string& path : paths)
        if (path.starts_with(folder) && hub::matchesGlob(path.substr(folder.size()), checkpointFiles::shards))
            needed.push_back(path);
    return needed;
}

} // namespace fenlo::whisper
