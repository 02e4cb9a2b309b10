#pragma once

#include <filesystem>
#include <string>

namespace fenlo {

/// Gives the file another name. False with errno, EEXIST when there is something of the new name; it stays.
bool renameToFreeName(const std::filesystem::path& file, const std::filesystem::path& name);

/// A file that is written beside its place and moved there when it is whole. Unless it was moved, it is removed with
/// its owner.
///
/// Threads: one at a time.
/// Errors:  isOpen() and commit() tell; errno holds the reason, also after its end.
class NeighbourFile {
public:
    /// Makes "<place>.XXXXXX" with six random characters, for the user only.
    explicit NeighbourFile(const std::filesystem::path& place);
    ~NeighbourFile();
    NeighbourFile(const NeighbourFile&) = delete;
    NeighbourFile& operator=(const NeighbourFile&) = delete;

    bool isOpen() const { return m_descriptor >= 0; }
    int descriptor() const { return m_descriptor; }

    enum class Existing { replace, keep };
    /// Brings everything to the disk, which also tells what the disk refused late, and takes the place of an older
    /// file, or ends with EEXIST where that is to be kept.
    bool commit(Existing existing = Existing::replace);

private:
    const std::filesystem::path m_place;
    std::string m_name;
    int m_descriptor;
};

} // namespace fenlo
