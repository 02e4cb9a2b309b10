#pragma once

#include "base/Descriptor.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace fenlo {

/// What a decoder reads as one file: stretches of a real file and bytes of our own, in any order. Copies share the open
/// file and keep it open.
class FileView {
public:
    /// The whole file.
    /// Errors: AudioFileError, also for anything but a regular file.
    explicit FileView(const std::filesystem::path& file);

    /// Appends bytes [begin, end) of the file.
    FileView& append(std::uint64_t begin, std::uint64_t end);
    /// Appends bytes that are not in the file.
    FileView& append(std::string bytes);
    /// An empty view of the same file.
    FileView none() const;
    /// Makes the view claim a size. The bytes beyond the true size cannot be read.
    void claim(std::uint64_t size) { m_claimed = size; }

    std::uint64_t size() const { return m_claimed ? m_claimed : m_size; }
    /// Fills `bytes` from `position` on and returns their number; fewer only at the end.
    std::size_t read(std::uint64_t position, std::span<char> bytes) const;

private:
    struct Piece {
        std::uint64_t begin = 0; // in the view
        std::uint64_t length = 0;
        std::uint64_t offset = 0; // in the file
        std::string bytes;        // instead of the file's, unless empty
    };
    explicit FileView(std::shared_ptr<const Descriptor> file) : m_file(std::move(file)) {}

    std::shared_ptr<const Descriptor> m_file;
    std::vector<Piece> m_pieces;
    std::uint64_t m_size = 0;
    std::uint64_t m_claimed = 0; // 0 for the true size
};

} // namespace fenlo
