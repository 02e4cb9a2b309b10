#include "WhisperEngine/network/Checkpoint.h"

#include "WhisperEngine/network/CheckpointFiles.h"
#include "WhisperEngine/network/Digest.h"
#include "WhisperEngine/network/ModelFault.h"
#include "base/Files.h"
#include "base/Json.h"

#include <nlohmann/json.hpp>
#include <sys/stat.h>

namespace fenlo::whisper {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

std::string describe(const std::vector<std::uint64_t>& shape) {
    return writeJson(json(shape));
}

} // namespace

Checkpoint::Checkpoint(const fs::path& modelFolder) : m_folder(modelFolder) {
    for (const std::string& name : weightsFiles(modelFolder)) {
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
    for (const char* name : {checkpointFiles::config, checkpointFiles::generation})
        append(files::read(modelFolder / name).value_or(""));
    for (const std::string& name : weightsFiles(modelFolder)) {
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
