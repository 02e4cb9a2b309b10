#pragma once

#include "hub/HubConnection.h"
#include "hub/PartialFile.h"

namespace fenlo::hub {

/// Downloads one file of a repository: continues an earlier attempt, tries again after passing faults, and accepts only
/// the content that the hub lists. When the hub has other content it throws HubError damaged, and when it has the file
/// no more, notFound: the list may be out of date.
///
/// Threads: one at a time; several downloads run side by side.
class FileDownload {
public:
    /// `tell` is called with the number of bytes on the disk whenever it changes, on the thread of run().
    using Tell = std::function<void(std::int64_t change)>;

    FileDownload(const HubConnection& connection, Clock& clock, const std::filesystem::path& folder,
                 const RepoFile& file, Tell tell);

    /// Returns when the whole file is on the disk, but not yet under its name. Throws HubError.
    void run(std::stop_token stop);

    /// Gives the file its name. Call once, after run(). Throws HubError.
    void moveToPlace() { m_partial.moveToPlace(); }

private:
    void fetchRest(std::stop_token stop);
    HttpResponse send(const HttpRequest& request, std::stop_token stop) const;
    void takeRedirect(const HttpResponse& redirect) const;
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
};

} // namespace fenlo::hub
