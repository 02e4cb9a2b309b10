#pragma once

#include "hub/HubConnection.h"
#include "hub/PartialFile.h"

namespace fenlo::hub {

/// Brings one file of a repository into its place: goes on with what an earlier attempt left, tries again after faults
/// that pass, and lets only the right bytes through.
///
/// Threads: one at a time; several downloads run side by side.
class FileDownload {
public:
    /// `tell` hears of every change of the number of bytes that are there, on the thread of run().
    using Tell = std::function<void(std::int64_t change)>;

    FileDownload(const HubConnection& connection, Clock& clock, const std::filesystem::path& folder,
                 const RepoFile& file, Tell tell);

    /// Returns with the whole file on the disk, not yet in its place. Throws HubError.
    void run(std::stop_token stop);

    /// To be called once, after run(). Throws HubError.
    void moveToPlace() { m_partial.moveToPlace(); }

private:
    void fetchRest(std::stop_token stop);
    void takeHead(const HttpResponse& head);
    void takeBytes(std::string_view bytes);
    void begin(const std::string& entityTag);
    void requireRightContent();

    const HubConnection& m_connection;
    Clock& m_clock;
    const RepoFile m_file;
    const std::string m_what; // for messages
    const Tell m_tell;
    PartialFile m_partial;
    ContentCheck m_check;
    bool m_wasDamaged = false;
};

} // namespace fenlo::hub
