#include "media/WavLength.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace fenlo {

namespace {

constexpr std::uint64_t headerSize = 12;  // bytes: "RIFF", a size, "WAVE"
constexpr std::uint64_t leastRest = 4096; // fewer bytes may be something else that a program put after the samples
constexpr std::uint64_t most32 = std::numeric_limits<std::uint32_t>::max();

std::string bytesAt(const FileView& view, std::uint64_t position) {
    std::array<char, headerSize> bytes{};
    return {bytes.data(), view.read(position, bytes)};
}

std::uint64_t fromLittleEndian(std::string_view bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

std::string littleEndian(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> 8 * i & 0xFF);
    return bytes;
}

bool isChunk(std::string_view head) {
    return head.size() >= 8 &&
           std::ranges::all_of(head.substr(0, 4), [](char letter) { return letter >= ' ' && letter <= '~'; });
}

/// Where the samples begin, if their length is wrong.
std::optional<std::uint64_t> wrongData(const FileView& view) {
    for (std::uint64_t position = headerSize;;) {
        const std::string chunk = bytesAt(view, position);
        if (chunk.size() < 8)
            return {};
        const std::uint64_t size = fromLittleEndian(std::string_view(chunk).substr(4));
        const std::uint64_t next = position + 8 + size + size % 2;
        if (chunk.starts_with("data"))
            return next + (size > 0 ? leastRest : 1) <= view.size() && !isChunk(bytesAt(view, next))
                       ? std::optional(position + 8)
                       : std::nullopt;
        position = next;
    }
}

} // namespace

FileView withWholeWavData(const FileView& view) {
    const std::string head = bytesAt(view, 0);
    if (!head.starts_with("RIFF") || !head.ends_with("WAVE"))
        return view;
    const auto begin = wrongData(view);
    if (!begin)
        return view;
    const std::uint64_t size = view.size() - *begin;
    FileView whole = view.none();
    if (size < most32)
        return whole.append(0, *begin - 4).append(littleEndian(size, 4)).append(*begin, view.size());
    // The variant with 64-bit sizes, which have a chunk of their own.
    return whole
        .append("RF64" + littleEndian(most32, 4) + "WAVEds64" + littleEndian(28, 4) +
                littleEndian(view.size() + 28, 8) + littleEndian(size, 8) + littleEndian(0, 12))
        .append(headerSize, *begin - 4)
        .append(littleEndian(most32, 4))
        .append(*begin, view.size());
}

} // namespace fenlo
