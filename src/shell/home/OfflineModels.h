#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "shell/home/Note.h"
#include "speech/LocalTranscriber.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class Background;

/// What is done with models on a worker. Each blocks, throws std::runtime_error with one line for the user, and ends
/// within a second of a stop request.
struct ModelWork {
    struct Installed {
        std::string name;
        std::uint64_t bytes = 0; // on the disk
        bool isWhole = true;
        bool isReady = false;         // prepared for its first use
        bool isDemonstration = false; // comes with the program
    };
    struct Fetchable {
        std::string name;
        std::uint64_t received = 0; // bytes of a download that was not finished
        bool isDemonstration = false;
    };

    std::function<std::vector<Installed>()> installed;
    /// Asks the hub.
    std::function<std::vector<Fetchable>(std::stop_token)> fetchable;
    std::function<std::uint64_t(const std::string& name, std::stop_token)> downloadSize; // bytes
    /// Downloads and prepares it, from where an earlier download ended.
    std::function<void(const std::string& name, const LocalTranscriber::Steps&, std::stop_token)> download;
    std::function<void(const std::string& name)> remove;
    /// Seconds from the end of a short sentence to its text.
    std::function<double(const std::string& name, std::stop_token)> measure;
    std::function<std::uint64_t()> freeDisk; // bytes
};

/// A model, as a screen shows it.
struct OfflineModelRow {
    enum class Job { none, checking, downloading, preparing, measuring, removing, stopping };

    std::string name = {};
    std::string label = {};
    bool isInstalled = false;
    bool isUsed = false;       // offline mode dictates with it
    std::uint64_t bytes = 0;   // on the disk, or of the whole download; 0 while it is not known
    std::uint64_t partial = 0; // bytes of a download that was not finished
    Job job = Job::none;
    std::uint64_t done = 0; // of the job
    std::uint64_t total = 0;
    Note note = {};

    std::string status() const; // one line
    double fraction() const;    // of the job, 0 to 1; negative while it is not known
    std::string downloadVerb() const { return partial > 0 ? "Resume" : "Download"; }
};

/// The on-device models: installed, fetched, measured and removed. One job at a time.
///
/// Threads: main thread; the work is done on workers.
/// Errors:  in the notes, one sentence each.
/// Lifetime: a job that is under way when this dies is asked to stop.
class OfflineModels {
public:
    struct Services {
        ModelWork work;
        MainQueue& queue;
        Background& background;
        std::string offlineModel;            // what offline mode dictates with, by a name that finds one model
        std::function<bool()> isOfflineMode; // now
        std::uint64_t memory = 0;            // bytes of this machine; 0 when they are not known
    };
    enum class State { loading, ready };

    explicit OfflineModels(Services services);
    ~OfflineModels();
    OfflineModels(const OfflineModels&) = delete;
    OfflineModels& operator=(const OfflineModels&) = delete;

    /// Looks again what is there; a screen that opens calls it.
    void refresh();

    State state() const { return m_state; }
    const std::vector<OfflineModelRow>& rows() const { return m_rows; }
    bool isBusy() const { return m_job != nullptr; }
    /// About the list as a whole, such as a hub that cannot be reached.
    const Note& note() const { return m_note; }

    /// Each is ignored while another job runs.
    void download(const std::string& name);
    void measure(const std::string& name);
    /// Refused for the model that offline mode uses now.
    void remove(const std::string& name);
    /// Ends the job. What was downloaded is kept, and the next download goes on from there.
    void cancel();

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    using Job = OfflineModelRow::Job;
    struct Found;
    struct Running;

    OfflineModelRow* find(const std::string& name);
    void show(const Found& found);
    void showSize(const std::string& name, std::uint64_t bytes);
    void begin(const std::string& name, Job job, std::function<Note(Running&, std::stop_token)> work);
    void tick();
    void finish(const std::string& name, Note note);
    bool isOfflineModel(const std::string& name) const;

    const Services m_services;
    State m_state = State::loading;
    std::vector<OfflineModelRow> m_rows;
    Note m_note;
    std::shared_ptr<Running> m_job;
    std::stop_source m_looking;
    Timer m_ticks;
    Changes m_changes;
    Lifetime m_lifetime;
};

/// "4.2 GB", "18 MB".
std::string sizeText(std::uint64_t bytes);
/// How much of a model is here: "250 MB of 967 MB"; empty while nothing is downloaded.
std::string fetchedText(const std::optional<SetupStep>& step);

/// Why a model of this download size cannot be used here, in one sentence; empty when it can.
std::string modelObstacle(std::uint64_t bytes, std::uint64_t received, std::uint64_t freeDisk, std::uint64_t memory);

} // namespace fenlo
