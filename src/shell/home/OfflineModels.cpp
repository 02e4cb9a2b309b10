#include "shell/home/OfflineModels.h"

#include "base/Background.h"
#include "base/Text.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace fenlo {

namespace {

using Job = OfflineModelRow::Job;

constexpr double progressInterval = 0.2;
constexpr double slowSentence = 4;    // seconds
constexpr double preparedShare = 0.5; // of the checkpoint: what is made of it for this machine
constexpr double memoryShare = 0.6;   // of the checkpoint, while the model is used
constexpr std::uint64_t spareDisk = 100'000'000;
constexpr std::uint64_t programMemory = 400'000'000;

std::string labelOf(const std::string& name) {
    constexpr std::string_view maker = "openai_whisper-";
    constexpr std::string_view distilled = "distil-whisper_distil-";
    constexpr std::string_view english = ".en";
    if (name.starts_with(distilled))
        return "Distilled Whisper " + name.substr(distilled.size());
    if (!name.starts_with(maker))
        return name;
    std::string size = name.substr(maker.size());
    const bool isEnglish = size.ends_with(english);
    if (isEnglish)
        size.erase(size.size() - english.size());
    return "Whisper " + size + (isEnglish ? ", English only" : "");
}

/// By size, as far as a name tells it.
std::size_t rankOf(const std::string& name) {
    constexpr std::string_view sizes[] = {"tiny", "base", "small", "medium", "large"};
    return static_cast<std::size_t>(
        std::ranges::find_if(sizes, [&](std::string_view size) { return name.find(size) != std::string::npos; }) -
        std::begin(sizes));
}

std::string sentence(const char* head, const std::exception& error) {
    const std::string line = text::join(text::words(error.what()), " ");
    return std::string(head) + ": " + line + (line.ends_with('.') ? "" : ".");
}

Note speedNote(double seconds) {
    char figure[32];
    std::snprintf(figure, sizeof figure, "%.1f", seconds);
    if (seconds > slowSentence)
        return {Note::Kind::warning, std::string("Slow on this machine: a short sentence takes ") + figure +
                                         " s. A smaller model answers sooner."};
    return {Note::Kind::good, std::string("A short sentence takes ") + figure + " s on this machine."};
}

} // namespace

/// What the job's worker tells, read now and then.
struct OfflineModels::Running {
    std::string name;
    std::stop_source stop;
    std::atomic<Job> job = Job::none;
    std::atomic<std::uint64_t> done = 0;
    std::atomic<std::uint64_t> total = 0;

    void take(const SetupStep& step) {
        job = step.kind == SetupStep::Kind::downloading ? Job::downloading : Job::preparing;
        done = step.done;
        total = step.total;
    }

    /// Why a download that failed cannot have gone on, where the disk has filled meanwhile; empty otherwise.
    std::string missingRoom(std::uint64_t freeDisk) const {
        const std::uint64_t left = total - std::min(total.load(), done.load());
        if (job != Job::downloading || freeDisk > left)
            return {};
        return "The disk is full: " + sizeText(left) +
               " more are needed; free some space and press Resume, what was downloaded is kept.";
    }
};

struct OfflineModels::Found {
    std::vector<ModelWork::Installed> installed;
    std::vector<ModelWork::Fetchable> fetchable;
    bool hasAskedHub = false;
    Note note;
};

std::string sizeText(std::uint64_t bytes) {
    char text[32];
    const auto size = static_cast<double>(bytes);
    if (size < 1e9)
        std::snprintf(text, sizeof text, "%.0f MB", std::max(1.0, size / 1e6));
    else
        std::snprintf(text, sizeof text, "%.1f GB", size / 1e9);
    return text;
}

std::string fetchedText(const std::optional<SetupStep>& step) {
    if (!step || step->kind != SetupStep::Kind::downloading || step->total == 0)
        return {};
    return sizeText(step->done) + " of " + sizeText(step->total);
}

std::string modelObstacle(std::uint64_t bytes, std::uint64_t received, std::uint64_t freeDisk, std::uint64_t memory) {
    const auto size = static_cast<double>(bytes);
    const auto ofMemory = static_cast<std::uint64_t>(size * memoryShare) + programMemory;
    if (memory > 0 && ofMemory > memory)
        return "This model needs about " + sizeText(ofMemory) + " of memory, and this machine has " + sizeText(memory) +
               ".";
    const auto ofDisk =
        bytes - std::min(bytes, received) + static_cast<std::uint64_t>(size * preparedShare) + spareDisk;
    if (ofDisk > freeDisk)
        return "The disk is too full: this model needs " + sizeText(ofDisk) + ", and " + sizeText(freeDisk) +
               " are free.";
    return {};
}

std::string OfflineModelRow::status() const {
    const std::string progress = fetchedText(SetupStep{SetupStep::Kind::downloading, done, total});
    switch (job) {
    case Job::none:
        break;
    case Job::checking:
        return "Looking for room…";
    case Job::downloading:
        return progress.empty() ? "Downloading…" : "Downloading, " + progress;
    case Job::preparing:
        return "Preparing it for this machine…";
    case Job::measuring:
        return "Measuring…";
    case Job::removing:
        return "Removing…";
    case Job::stopping:
        return "Stopping…";
    }
    if (isInstalled)
        return (bytes > 0 ? sizeText(bytes) + " on the disk" : "On the disk") +
               std::string(isUsed ? ", the model of offline mode" : "");
    if (partial > 0)
        return sizeText(partial) + (bytes > 0 ? " of " + sizeText(bytes) : "") + " downloaded";
    return bytes > 0 ? "Download of " + sizeText(bytes) : "";
}

double OfflineModelRow::fraction() const {
    return total > 0 ? static_cast<double>(std::min(done, total)) / static_cast<double>(total) : -1;
}

OfflineModels::OfflineModels(Services services) : m_services(std::move(services)) {}

OfflineModels::~OfflineModels() {
    m_looking.request_stop();
    cancel();
}

OfflineModelRow* OfflineModels::find(const std::string& name) {
    const auto found = std::ranges::find(m_rows, name, &OfflineModelRow::name);
    return found == m_rows.end() ? nullptr : &*found;
}

bool OfflineModels::isOfflineModel(const std::string& name) const {
    return name == m_services.offlineModel || name == "openai_whisper-" + m_services.offlineModel;
}

void OfflineModels::refresh() {
    m_looking.request_stop();
    m_looking = {};
    const std::function<void(const Found&)> show = m_lifetime.bind([this](const Found& found) { this->show(found); });
    const std::function<void(const std::string&, std::uint64_t)> showSize =
        m_lifetime.bind([this](const std::string& name, std::uint64_t bytes) { this->showSize(name, bytes); });
    m_services.background.run([work = m_services.work, &queue = m_services.queue, show, showSize,
                               looking = m_looking.get_token()](std::stop_token stop) {
        std::stop_source either;
        const std::stop_callback onQuit(stop, [&] { either.request_stop(); });
        const std::stop_callback onNewLook(looking, [&] { either.request_stop(); });
        const auto tell = [&](const Found& found) {
            if (!looking.stop_requested())
                queue.post([show, found] { show(found); });
        };
        Found found{work.installed(), {}, false, {}};
        tell(found); // the hub may take its time
        try {
            found.fetchable = work.fetchable(either.get_token());
        } catch (const std::exception& error) {
            found.note = {Note::Kind::warning, sentence("The models to download cannot be listed", error)};
        }
        found.hasAskedHub = true;
        tell(found);
        for (const ModelWork::Fetchable& model : found.fetchable) {
            if (either.stop_requested())
                return;
            try {
                const std::uint64_t bytes = work.downloadSize(model.name, either.get_token());
                queue.post([showSize, name = model.name, bytes] { showSize(name, bytes); });
            } catch (const std::exception&) {
                return; // the hub is gone; the sizes are a help only
            }
        }
    });
}

/// Keeps what is known of a row from before.
void OfflineModels::show(const Found& found) {
    std::vector<OfflineModelRow> rows;
    const auto add = [&](const std::string& name, bool isDemonstration) -> OfflineModelRow& {
        const OfflineModelRow* before = find(name);
        rows.push_back(before ? *before : OfflineModelRow{});
        OfflineModelRow& row = rows.back();
        row.name = name;
        row.label = isDemonstration ? "Demonstration, knows synthetic voices only" : labelOf(name);
        row.isUsed = isOfflineModel(name);
        return row;
    };
    for (const ModelWork::Installed& model : found.installed) {
        OfflineModelRow& row = add(model.name, model.isDemonstration);
        row.isInstalled = model.isWhole;
        row.bytes = model.bytes;
        row.partial = model.isWhole ? 0 : model.bytes;
    }
    for (const ModelWork::Fetchable& model : found.fetchable) {
        if (std::ranges::find(rows, model.name, &OfflineModelRow::name) != rows.end())
            continue;
        OfflineModelRow& row = add(model.name, model.isDemonstration);
        row.bytes = row.isInstalled ? 0 : row.bytes; // it was the size on the disk
        row.isInstalled = false;
        row.partial = model.received;
    }
    // Until the hub has answered, what it offered before stays.
    if (!found.hasAskedHub)
        std::ranges::copy_if(m_rows, std::back_inserter(rows), [&](const OfflineModelRow& row) {
            return !row.isInstalled && std::ranges::find(rows, row.name, &OfflineModelRow::name) == rows.end();
        });
    std::ranges::stable_sort(rows, [](const OfflineModelRow& a, const OfflineModelRow& b) {
        return std::tuple(!a.isInstalled, !a.isUsed, rankOf(a.name)) <
               std::tuple(!b.isInstalled, !b.isUsed, rankOf(b.name));
    });
    m_rows = std::move(rows);
    if (found.hasAskedHub)
        m_note = found.note;
    m_state = State::ready;
    m_changes.tell();
}

void OfflineModels::showSize(const std::string& name, std::uint64_t bytes) {
    OfflineModelRow* row = find(name);
    if (!row || row->isInstalled)
        return;
    row->bytes = bytes;
    m_changes.tell();
}

void OfflineModels::begin(const std::string& name, Job job, std::function<Note(Running&, std::stop_token)> work) {
    OfflineModelRow* row = find(name);
    if (!row || m_job)
        return;
    m_job = std::make_shared<Running>();
    m_job->name = name;
    m_job->job = job;
    row->job = job;
    row->done = row->total = 0;
    row->note = {};
    const std::function<void(const Note&)> done =
        m_lifetime.bind([this, name](const Note& note) { finish(name, note); });
    m_services.background.run([running = m_job, work, done, &queue = m_services.queue](std::stop_token stop) {
        const std::stop_callback onQuit(stop, [&] { running->stop.request_stop(); });
        Note note;
        try {
            note = work(*running, running->stop.get_token());
        } catch (const std::exception& error) {
            if (!running->stop.stop_requested())
                note = {Note::Kind::error, sentence("It failed", error)};
        }
        queue.post([done, note] { done(note); });
    });
    m_ticks = m_services.queue.every(progressInterval, [this] { tick(); });
    m_changes.tell();
}

void OfflineModels::tick() {
    OfflineModelRow* row = m_job ? find(m_job->name) : nullptr;
    if (!row)
        return;
    row->job = m_job->stop.stop_requested() ? Job::stopping : m_job->job.load();
    row->total = m_job->total;
    row->done = m_job->done;
    m_changes.tell();
}

void OfflineModels::finish(const std::string& name, Note note) {
    m_ticks.cancel();
    m_job.reset();
    if (OfflineModelRow* row = find(name)) {
        row->job = Job::none;
        row->note = std::move(note);
    }
    m_changes.tell();
    refresh();
}

void OfflineModels::download(const std::string& name) {
    begin(name, Job::checking,
          [work = m_services.work, memory = m_services.memory, name](Running& running, std::stop_token stop) {
              std::uint64_t received = 0;
              for (const ModelWork::Fetchable& model : work.fetchable(stop))
                  if (model.name == name)
                      received = model.received;
              const std::uint64_t bytes = work.downloadSize(name, stop);
              if (const std::string obstacle = modelObstacle(bytes, received, work.freeDisk(), memory);
                  !obstacle.empty())
                  return Note{Note::Kind::error, obstacle};
              running.take({SetupStep::Kind::downloading, received, bytes});
              try {
                  work.download(
                      name, [&running](const SetupStep& step) { running.take(step); }, stop);
              } catch (const std::exception&) {
                  if (const std::string room = running.missingRoom(work.freeDisk()); !room.empty())
                      return Note{Note::Kind::error, room};
                  throw;
              }
              return Note{Note::Kind::good, "It is ready to use."};
          });
}

void OfflineModels::measure(const std::string& name) {
    begin(name, Job::measuring, [work = m_services.work, name](Running&, std::stop_token stop) {
        return speedNote(work.measure(name, stop));
    });
}

void OfflineModels::remove(const std::string& name) {
    OfflineModelRow* row = find(name);
    if (row && row->isUsed && row->isInstalled && m_services.isOfflineMode()) {
        row->note = {Note::Kind::warning, "Offline mode uses this model. Turn offline mode off first."};
        m_changes.tell();
        return;
    }
    begin(name, Job::removing, [work = m_services.work, name](Running&, std::stop_token) {
        work.remove(name);
        return Note{};
    });
}

void OfflineModels::cancel() {
    if (!m_job)
        return;
    m_job->stop.request_stop();
    tick();
}

} // namespace fenlo
