#include "audio/TakeChunks.h"

#include "audio/ChunkWriter.h"
#include "audio/QuietCut.h"
#include "base/Files.h"

namespace fenlo {

std::optional<CutChunk> cutChunk(std::span<const float> samples, double sampleRate) {
    const std::size_t length = quietCut(samples, sampleRate, WithoutQuiet::atPause);
    const auto file = writeChunk(samples.first(length), sampleRate);
    return file ? std::optional(CutChunk{*file, length}) : std::nullopt;
}

std::optional<std::vector<std::filesystem::path>> writeChunks(std::span<const float> samples, double sampleRate) {
    const auto limit = static_cast<std::size_t>(chunkDuration * sampleRate);
    std::vector<std::filesystem::path> files;
    while (!samples.empty()) {
        std::optional<CutChunk> chunk;
        if (samples.size() > limit)
            chunk = cutChunk(samples.first(limit), sampleRate);
        else if (const auto file = writeChunk(samples, sampleRate))
            chunk = {*file, samples.size()};
        if (!chunk) {
            for (const auto& written : files)
                files::removeQuietly(written);
            return {};
        }
        files.push_back(chunk->file);
        samples = samples.subspan(chunk->length);
    }
    return files;
}

} // namespace fenlo
