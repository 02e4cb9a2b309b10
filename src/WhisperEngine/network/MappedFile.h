#pragma once

#include <cstddef>
#include <filesystem>
#include <span>

namespace fenlo::whisper {

/// A file in memory, read-only, its pages read when they are first touched.
///
/// Errors:   modelFault when the file is missing or cannot be mapped.
/// Lifetime: the bytes live as long as this; moving it leaves them where they are.
class MappedFile {
public:
    explicit MappedFile(const std::filesystem::path& file);
    MappedFile(MappedFile&& other) noexcept;
    MappedFile& operator=(MappedFile&& other) noexcept;
    ~MappedFile();

    std::span<const std::byte> bytes() const { return m_bytes; }
    /// Asks the system to read all of it into its cache; waits no longer than until that is asked.
    void readAhead() const;

private:
    std::span<const std::byte> m_bytes;
};

} // namespace fenlo::whisper
