#pragma once

#include "WhisperEngine/network/Digest.h"
#include "WhisperEngine/network/ModelConfig.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

/// The layout of compiled files: header, table of tensors, then each tensor's numbers at a multiple of 64 bytes, all
/// little-endian. Raise `version` with every change of layout, of names or of what is computed from the numbers.
namespace fenlo::whisper::compiled {

constexpr char magic[8] = {'F', 'e', 'n', 'l', 'o', 'N', 'e', 't'};
constexpr std::uint32_t version = 2;
constexpr std::size_t alignment = 64; // a cache line, and the widest vector
constexpr std::uint32_t mostTensors = 4096;

enum class NumberType : std::uint32_t { float32 = 1, int8 = 2 };

struct Header {
    char magic[8];
    std::uint32_t version;
    std::uint32_t kind;
    std::uint32_t unit;
    std::uint32_t tensorCount;
    ModelArchitecture::Numbers architecture;
    std::uint8_t fingerprint[32];
    std::uint64_t fileSize;
    std::uint8_t checksum[32]; // SHA-256 of header and table, this field zero
};
static_assert(sizeof(Header) == 160);

struct Entry {
    char name[64]; // ends with a zero
    NumberType type;
    std::uint32_t dimensions; // 1 or 2
    std::uint32_t shape[2];
    std::uint64_t offset;
    std::uint64_t size;
};
static_assert(sizeof(Entry) == 96);

/// The checksum of `table`, which is the header and the entries.
inline std::array<std::uint8_t, 32> checksum(std::span<const std::byte> table) {
    std::string copy(reinterpret_cast<const char*>(table.data()), table.size());
    std::memset(copy.data() + offsetof(Header, checksum), 0, sizeof(Header::checksum));
    return sha256(copy);
}

} // namespace fenlo::whisper::compiled
