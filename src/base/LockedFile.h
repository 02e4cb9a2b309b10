#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace fenlo {

/// An open file with a lock, which the system frees when the process ends in whatever way: so another process can tell
/// a file in use from an abandoned one. Two objects of one process exclude each other as well.
///
/// Threads: one at a time.
class LockedFile {
public:
    enum class Sharing { exclusive, shared };

    /// Makes the file, for its owner only, when it is absent. Nothing when it cannot be opened or another holds the
    /// lock.
    static std::optional<LockedFile> make(const std::filesystem::path& file);
    /// The same for a plain file that exists; not for a link.
    static std::optional<LockedFile> open(const std::filesystem::path& file, Sharing sharing);

    LockedFile(LockedFile&& other) noexcept;
    LockedFile& operator=(LockedFile&&) = delete;
    ~LockedFile();

    /// Adds to the end of the file. False with errno unless all of it was written.
    bool append(std::string_view bytes) const;

private:
    explicit LockedFile(int descriptor) : m_descriptor(descriptor) {}
    static std::optional<LockedFile> locked(int descriptor, Sharing sharing);

    int m_descriptor;
};

} // namespace fenlo
