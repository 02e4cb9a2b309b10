#include "WhisperEngine/network/Checkpoint.h"

#include "WhisperEngine/network/Digest.h"
#include "WhisperEngine/network/ModelFault.h"
#include "WhisperEngine/network/StrictJson.h"
#include "base/Files.h"

#include <set>
#include <sys/stat.h>

namespace fenlo::whisper {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr const char* weightsName = "model.safetensors";
constexpr const char* indexName = "model.safetensors.index.json";
constexpr std::size_t mostShards = 256;

bool isThere(const fs::path& file) {
    std::error_code error;
    return fs::exists(file, error);
}

/// A name in the index is that of a neighbour, never a path that leads elsewhere.
bool isNeighbour(const std::string& name) {
    return name.ends_with(".safetensors") && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

/// In the order of their names.
std::set<std::string> shardNames(const fs::path& folder) {
    if (isThere(folder / weightsName) || !isThere(folder / indexName))
        return {weightsName};
    const fs::path index = folder / indexName;
    const json document = readStrictJson(index);
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

std::string describe(const std::vector<std::uint64_t>& shape) {
    return json(shape).dump();
}

} // namespace

Checkpoint::Checkpoint(const fs::path& modelFolder) : m_folder(modelFolder) {
    for (const std::string& name : shardNames(modelFolder)) {
        MappedFile file(modelFolder / name);
        SafeTensors tensors(file.bytes(), (modelFolder / name).string());
        m_shards.push_back({std::move(file), std::move(tensors)});
    }
}

const SafeTensors::Tensor& Checkpoint::tensor(const std::string& name, const std::vector<std::uint64_t>& shape) const {
    for (const Shard& shard : m_shards)
        for (const std::string& fullName : {"model." + name, name}) {
            const SafeTensors::Tensor* found = shard.tensors.find(fullName);
            if (!found)
                continue;
            if (found->type == SafeTensors::Type::other)
                throw modelFault("The weights in " + m_folder.string() + ": tensor " + fullName +
                                 " is neither F16 nor BF16 nor F32. Choose another model.");
            if (found->shape != shape)
                throw ModelDamage("The weights in " + m_folder.string() + ": tensor " + fullName + " has the shape " +
                                  describe(found->shape) + ", but config.json makes it " + describe(shape));
            return *found;
        }
    throw ModelDamage("The weights in " + m_folder.string() + " lack the tensor " + name,
                      ". Download the model again, or choose a Whisper model.");
}

Fingerprint checkpointFingerprint(const fs::path& modelFolder) {
    std::string facts;
    // Each part with its length before it, so that no two checkpoints give the same text.
    const auto append = [&facts](std::string_view part) {
        facts += std::to_string(part.size()).append(":").append(part);
    };
    for (const char* name : {"config.json", "generation_config.json"})
        append(files::read(modelFolder / name).value_or(""));
    for (const std::string& name : shardNames(modelFolder)) {
        const fs::path path = modelFolder / name;
        const MappedFile file(path);
        struct stat status {};
        ::stat(path.c_str(), &status);
        const auto head = SafeTensors::head(file.bytes(), path.string());
        append(name);
        append(std::to_string(file.bytes().size()));
        append(std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec));
        append({reinterpret_cast<const char*>(head.data()), head.size()});
    }
    return sha256(facts);
}

} // namespace fenlo::whisper
