#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace fenlo::whisper {

/// The safetensors format: the header's length (8 bytes, little-endian), a JSON header that names type, shape and range
/// of each tensor, and the data. Nothing in it is trusted: a parsed file has only tensors that lie whole inside the
/// data, do not overlap and have the length that their shape says.
///
/// Lifetime: views of the caller's bytes.
class SafeTensors {
public:
    enum class Type { float16, bfloat16, float32, other };

    struct Tensor {
        Type type = Type::other;
        std::vector<std::uint64_t> shape;
        std::span<const std::byte> data;
    };

    /// Errors: modelFault that calls the bytes `name`.
    SafeTensors(std::span<const std::byte> bytes, const std::string& name);

    const Tensor* find(const std::string& tensor) const;
    const std::map<std::string, Tensor>& tensors() const { return m_tensors; }

    /// The length field and the header.
    static std::span<const std::byte> head(std::span<const std::byte> bytes, const std::string& name);

private:
    std::map<std::string, Tensor> m_tensors;
};

/// Widens elements [first, first + dst.size()) of a tensor whose type is not `other`.
void widen(const SafeTensors::Tensor& tensor, std::size_t first, std::span<float> dst);

} // namespace fenlo::whisper
