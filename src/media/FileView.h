#pragma once

#include "base/Descriptor.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace fenlo {

/// A file as a decoder shall see it: stretches of a real one and bytes of our own, one behind the other. A copy shares
/// the open file and keeps it open.
class FileView {
public:
    /// The whole file.
    /// Errors: AudioFileError, also for what is no regular file.
    explicit FileView(const std::filesystem::path& file);

    /// This file's bytes [begin, end) put behind those of the view.
    FileView& append(std::uint64_t begin, std::uint64_t end);
    /// Puts bytes that are not in the file behind those of the view.
    FileView& append(std::string bytes);
    /// A view without bytes.
    FileView none() const;
    /// The view says that it is so long; what would lie behind its bytes cannot be read.
    void claim(std::uint64_t size) { m_claimed = size; }

    std::uint64_t size() const { return m_claimed ? m_claimed : m_size; }
    /// Fills `bytes` from `position` on, and tells how many there were; fewer only at the end.
    std::size_t read(std::uint64_t position, std::span<char> bytes) const;

private:
    struct Piece {
        std::uint64_t begin = 0; // in the view
        std::uint64_t length = 0;
        std::uint64_t offset = 0; // in the file
        std::string bytes;        // in place of the file's, where there are any
    };
    explicit FileView(std::shared_ptr<const Descriptor> file) : m_file(std::move(file)) {}

    std::shared_ptr<const Descriptor> m_file;
    std::vector<Piece> m_pieces;
    std::uint64_t m_size = 0;
    std::uint64_t m_claimed = 0; // 0 for the true size
};

} // namespace fenlo
