#pragma once

#include "base/Descriptor.h"
#include "hub/ContentCheck.h"

namespace fenlo::hub {

/// What has come of a file so far. It lies in the ".partial" folder, with a record beside it of what it is a part of:
/// the file's size and hash, and the mark (ETag) under which the hub sent it.
///
/// Threads: one at a time.
/// Errors:  HubError disk and diskFull; what has come stays on the disk.
class PartialFile {
public:
    /// Opens what an earlier attempt left, when it is a part of this very file; begins anew otherwise.
    PartialFile(std::filesystem::path folder, RepoFile file);

    /// How many bytes an earlier attempt left of the file.
    static std::uint64_t sizeOf(const std::filesystem::path& folder, const RepoFile& file);

    /// Empty when the hub cannot be asked for the rest.
    const std::string& entityTag() const { return m_entityTag; }

    /// Feeds what is there to the check; false on a stop request.
    bool readInto(ContentCheck& check, std::stop_token stop);
    /// Drops what is there; the bytes to come are of the file that the hub marks so.
    void begin(const std::string& entityTag);
    void append(std::string_view bytes);
    /// Puts the whole file in its place, as the last act.
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

/// The disk cannot take so many bytes more. The message names the need, what is free, and the remedy.
HubError diskFull(const std::filesystem::path& folder, const std::string& what, std::uint64_t needed);

} // namespace fenlo::hub
