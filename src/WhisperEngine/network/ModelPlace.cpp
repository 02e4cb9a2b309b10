#include "WhisperEngine/network/ModelPlace.h"

#include "WhisperEngine/network/Checkpoint.h"
#include "WhisperEngine/network/Digest.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "base/Files.h"
#include "base/Hexadecimal.h"

#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t keyBytes = 8; // of each half of a name: the folder, and the state of its checkpoint

std::string keyOf(const std::array<std::uint8_t, 32>& digest) {
    return hexadecimal(std::as_bytes(std::span(digest).first(keyBytes)));
}

fs::path wholePath(const fs::path& folder) {
    std::error_code error;
    const fs::path found = fs::weakly_canonical(folder, error);
    if (error)
        return folder;
    return found.has_filename() ? found : found.parent_path(); // without a slash at the end
}

/// How the names of a folder's cached files begin.
std::string cachePrefix(const fs::path& modelFolder) {
    return keyOf(sha256(wholePath(modelFolder).string())) + "-";
}

} // namespace

bool isIn(const fs::path& folder, const fs::path& parent) {
    return !parent.empty() && wholePath(folder).parent_path() == wholePath(parent);
}

fs::path compiledCache() {
    return files::cacheDirectory() / "models";
}

ModelPlace placeOf(const fs::path& modelFolder, const fs::path& ownModels, const ModelComputeOptions& options) {
    const bool isOwn = isIn(modelFolder, ownModels);
    const bool isWritable = ::faccessat(AT_FDCWD, modelFolder.c_str(), W_OK, AT_EACCESS) == 0;
    if ((isOwn && isWritable) || isCompiled(modelFolder, options))
        return modelFolder;
    return {modelFolder, compiledCache() / (cachePrefix(modelFolder) + keyOf(checkpointFingerprint(modelFolder)))};
}

void removeCached(const fs::path& modelFolder, const fs::path& kept) {
    const std::string prefix = cachePrefix(modelFolder);
    std::vector<fs::path> old;
    std::error_code error;
    for (fs::directory_iterator entry(compiledCache(), error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().string().starts_with(prefix) && entry->path() != kept)
            old.push_back(entry->path());
    for (const fs::path& folder : old)
        fs::remove_all(folder, error);
}

} // namespace fenlo::whisper
