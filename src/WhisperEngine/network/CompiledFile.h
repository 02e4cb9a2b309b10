#pragma once

#include "WhisperEngine/network/Checkpoint.h"
#include "WhisperEngine/network/MappedFile.h"
#include "WhisperEngine/network/ModelComputeOptions.h"
#include "WhisperEngine/network/ModelConfig.h"

#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace fenlo::whisper {

enum class CompiledKind : std::uint32_t { melSpectrogram = 1, audioEncoder = 2, textDecoder = 3 };

/// Where the compiled file of this kind and precision lies.
std::filesystem::path compiledPath(const std::filesystem::path& modelFolder, CompiledKind kind, ComputeUnit unit);

/// What a compiled file says of itself.
struct CompiledIdentity {
    CompiledKind kind = CompiledKind::melSpectrogram;
    ComputeUnit unit = ComputeUnit::automatic;
    ModelArchitecture architecture;
    Fingerprint fingerprint{};
    bool operator==(const CompiledIdentity&) const = default;
};

/// A compiled file, mapped. Opening checks the header and the table of tensors, whose checksum must hold; the numbers
/// are not read.
///
/// Errors:   modelFault with the file, the fault and the remedy.
/// Lifetime: views live as long as the file.
class CompiledFile {
public:
    explicit CompiledFile(const std::filesystem::path& path);
    /// The same of bytes that the caller keeps alive.
    CompiledFile(std::span<const std::byte> bytes, const std::string& name);

    /// Asks the system to read the numbers, so that their first use does not wait for the disk.
    void readAhead() const;

    const CompiledIdentity& identity() const { return m_identity; }
    const std::string& name() const { return m_name; }

    bool has(const std::string& tensor) const { return m_tensors.contains(tensor); }
    /// Refuses a tensor of another shape.
    std::span<const float> floats(const std::string& tensor, std::initializer_list<int> shape) const;
    std::span<const std::int8_t> bytes(const std::string& tensor, std::initializer_list<int> shape) const;
    /// A table with a row length of `columns` and any number of rows.
    std::span<const float> rows(const std::string& tensor, int columns) const;

    [[noreturn]] void refuse(const std::string& fault) const;

private:
    struct Tensor {
        bool isFloat = true;
        std::vector<std::uint32_t> shape;
        std::span<const std::byte> data;
    };

    void parse(std::span<const std::byte> bytes);
    const Tensor& find(const std::string& tensor, bool isFloat) const;
    const Tensor& find(const std::string& tensor, bool isFloat, std::initializer_list<int> shape) const;

    std::string m_name;
    std::optional<MappedFile> m_file;
    CompiledIdentity m_identity;
    std::map<std::string, Tensor> m_tensors;
};

} // namespace fenlo::whisper
