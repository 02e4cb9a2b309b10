#include "hub/ParallelFetch.h"

#include "hub/HubPaths.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace fenlo::hub {

namespace {

constexpr std::size_t maxWorkers = 4;

/// What the workers and the calling thread share.
class Crew {
public:
    Crew(const std::vector<RepoFile>& files, std::stop_token stop)
        : m_files(files), m_endWithCaller(stop, EndAll{m_end}) {}

    void work(const std::function<void(const RepoFile&, const FileDownload::Tell&, std::stop_token)>& fetch) {
        const FileDownload::Tell tell = [this](std::int64_t change) {
            update([&] { m_received += static_cast<std::uint64_t>(change); });
        };
        while (const RepoFile* file = next())
            try {
                fetch(*file, tell, m_end.get_token());
            } catch (const HubError& error) {
                fail(error);
            } catch (const std::exception& error) {
                fail({HubError::Kind::disk, "could not download " + shown(file->path) + ": " + error.what()});
            }
        update([&] { ++m_ended; });
    }

    /// Reports progress, on the calling thread, until so many workers have ended.
    void watch(std::size_t workers, const std::function<void(DownloadProgress)>& progress) {
        std::unique_lock lock(m_mutex);
        while (m_isNew || m_ended < workers) {
            m_changed.wait(lock, [this] { return m_isNew; });
            m_isNew = false;
            const DownloadProgress now{m_received, totalSize(m_files)};
            lock.unlock();
            if (progress)
                progress(now);
            lock.lock();
        }
        if (m_failure)
            throw *m_failure;
    }

    void end() { m_end.request_stop(); }

private:
    struct EndAll {
        std::stop_source source;
        void operator()() { source.request_stop(); }
    };

    const RepoFile* next() {
        const std::lock_guard lock(m_mutex);
        return m_end.stop_requested() || m_next == m_files.size() ? nullptr : &m_files[m_next++];
    }

    void fail(const HubError& error) {
        update([&] {
            if (!m_failure)
                m_failure = error;
        });
        end();
    }

    template <typename Change>
    void update(Change change) {
        const std::lock_guard lock(m_mutex);
        change();
        m_isNew = true;
        m_changed.notify_one();
    }

    const std::vector<RepoFile>& m_files;
    std::stop_source m_end;
    std::stop_callback<EndAll> m_endWithCaller;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isNew = true; // so that the start is reported too
    std::size_t m_next = 0;
    std::size_t m_ended = 0;
    std::uint64_t m_received = 0;
    std::optional<HubError> m_failure;
};

} // namespace

void fetchAll(const std::vector<RepoFile>& files,
              const std::function<void(const RepoFile&, const FileDownload::Tell&, std::stop_token)>& fetch,
              const std::function<void(DownloadProgress)>& progress, std::stop_token stop) {
    Crew crew(files, stop);
    std::vector<std::jthread> workers;
    try {
        for (std::size_t i = 0; i < std::min(files.size(), maxWorkers); ++i)
            workers.emplace_back([&] { crew.work(fetch); });
        crew.watch(workers.size(), progress);
    } catch (...) {
        crew.end(); // the workers use the crew
        workers.clear();
        throw;
    }
}

std::uint64_t totalSize(const std::vector<RepoFile>& files) {
    std::uint64_t total = 0;
    for (const RepoFile& file : files)
        total += file.size;
    return total;
}

} // namespace fenlo::hub
