#pragma once

#include "WhisperEngine/network/CompiledFile.h"
#include "WhisperEngine/network/CompiledFormat.h"
#include "base/NeighbourFile.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace fenlo::whisper {

/// Writes a compiled file beside its place, and moves it there when it is whole. A writer that is destroyed before that
/// leaves nothing.
///
/// Errors: modelFault when the disk is full or refuses.
class CompiledFileWriter {
public:
    struct Tensor {
        std::string name;
        compiled::NumberType type = compiled::NumberType::float32;
        std::vector<std::uint32_t> shape; // one or two sizes
    };

    /// Writes header and table; each tensor's numbers follow in any order.
    CompiledFileWriter(std::filesystem::path path, const CompiledIdentity& identity, std::span<const Tensor> tensors);
    CompiledFileWriter(const CompiledFileWriter&) = delete;
    CompiledFileWriter& operator=(const CompiledFileWriter&) = delete;

    void write(std::size_t tensor, std::uint64_t byteInTensor, std::span<const std::byte> numbers);
    /// The file is whole: it takes the place of an older one.
    void commit();

    /// Removes the unfinished files of writers whose process has ended; writers at work keep theirs.
    static void removeLeftovers(const std::filesystem::path& folder);

    static std::uint64_t fileSize(std::span<const Tensor> tensors);

private:
    void makeNeighbour();
    void writeAt(std::uint64_t offset, std::span<const std::byte> bytes);
    [[noreturn]] void fail() const;

    std::filesystem::path m_path;
    std::optional<NeighbourFile> m_neighbour;
    std::vector<std::uint64_t> m_offsets;
};

} // namespace fenlo::whisper
