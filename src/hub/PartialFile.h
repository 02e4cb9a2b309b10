#pragma once

#include "base/Descriptor.h"
#include "hub/ContentCheck.h"

namespace fenlo::hub {

/// The part of a file that has been received. It lies in the ".partial" folder; a record beside it says which file it
/// belongs to: size, hash, and the ETag with which the hub sent it.
///
/// Threads: one at a time.
/// Errors:  HubError disk and diskFull; what was received stays on the disk.
class PartialFile {
public:
    /// Opens what an earlier attempt left of the same file; otherwise starts with nothing.
    PartialFile(std::filesystem::path folder, RepoFile file);

    /// How many bytes an earlier attempt left.
    static std::uint64_t sizeOf(const std::filesystem::path& folder, const RepoFile& file);

    /// Forgets what an earlier attempt left.
    static void discard(const std::filesystem::path& folder, const RepoFile& file);

    /// Empty when the rest cannot be requested.
    const std::string& entityTag() const { return m_entityTag; }

    /// Passes what is there to the check; false on a stop request.
    bool readInto(ContentCheck& check, std::stop_token stop);
    /// Starts over; the bytes that follow come under this ETag.
    void begin(const std::string& entityTag);
    void append(std::string_view bytes);
    /// Gives the whole file its name. The last call.
    void moveToPlace();

private:
    int open() const;
    [[noreturn]] void fail(int error) const;

    const std::filesystem::path m_folder;
    const RepoFile m_file;
    const std::filesystem::path m_path;
    const Descriptor m_descriptor;
    std::string m_entityTag;
};

/// The error for a disk without room for so many more bytes. The message names the need, what is free, and the remedy.
HubError diskFull(const std::filesystem::path& folder, const std::string& what, std::uint64_t needed);

} // namespace fenlo::hub
