#pragma once

#include "account/UpdateOffer.h"
#include "account/UpdateRecord.h"
#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

class Background;
class Clock;
class Config;
class HttpClient;
class PackageSystem;

/// What the updater works with. All outlive it.
struct UpdateServices {
    std::string feed;    // the deployment's: a whole address
    std::string key;     // the deployment's: Ed25519, in Base64
    std::string version; // of this program
    HttpClient& http;
    PackageSystem& packages;
    Config& config;
    Clock& clock;
    MainQueue& mainQueue;
    Background& background;
    std::filesystem::path folder; // of downloaded packages
    std::filesystem::path record; // the file of what is remembered
};

/// Keeps the program up to date: looks for a newer release, shows what is new, downloads its package, verifies it and
/// hands it to the system's installer. It installs nothing itself, and nothing happens without the user but a look into
/// the feed once a day, where the settings allow that.
///
/// Threads: main thread; what blocks is done on workers, one work at a time.
/// Errors:  one sentence for the user, fault(); a daily check that fails is a line in the log.
class AutoUpdater {
public:
    enum class Stage {
        idle,        // nothing to show
        checking,    // asked for by the user
        upToDate,    //
        available,   // offer() is there; found on request, or by the daily check
        downloading, //
        verifying,   //
        verified,    // waits for openInstaller(), since a take is under way
        handedOver,  // to the installer, or where there is none it was shown in its folder
        failed,      // fault() says why
    };

    explicit AutoUpdater(UpdateServices services);
    AutoUpdater(const AutoUpdater&) = delete;
    AutoUpdater& operator=(const AutoUpdater&) = delete;
    ~AutoUpdater();

    /// A take or a meeting is under way, into which no installer may burst.
    std::function<bool()> isBusy = [] { return false; };

    /// Begins with the daily checks, some time from now.
    void start();

    /// What the user asks for. A check during a download is ignored.
    void checkForUpdates();
    void install();
    void openInstaller();
    void showInFolder();
    /// Once more what failed.
    void tryAgain();
    void skipThisVersion();
    /// Not now: ends what is under way. What was downloaded stays for the next time.
    void later();

    Stage stage() const { return m_stage; }
    const std::string& version() const { return m_services.version; }
    /// The newest version on this machine, once a check has ended: it may be installed while an older one runs.
    const std::optional<ReleaseVersion>& installed() const { return m_installed; }
    const std::optional<UpdateOffer>& offer() const { return m_offer; }
    std::uint64_t bytesDone() const { return m_bytesDone; } // of the package
    bool wasOpened() const { return m_wasOpened; }          // by an installer, in the stage handedOver
    const std::string& fault() const { return m_fault; }
    /// Where the package lies, or will.
    std::filesystem::path packageFile() const;
    /// A line for the menu while a release is there; else empty.
    std::string notice() const;

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    /// What a work on a worker leads to on the main thread.
    using Outcome = std::function<void()>;
    using Work = std::function<Outcome(std::stop_token)>;

    struct Found {
        ReleaseVersion installed;
        std::optional<UpdateOffer> offer;
    };
    static Found look(const UpdateServices& services, const std::optional<ReleaseVersion>& newestVerified,
                      const std::stop_token& stop);
    static void fetch(const UpdateServices& services, const UpdateOffer& offer,
                      const std::function<void(std::uint64_t)>& tell, const std::stop_token& stop);

    void tick();
    void begin(Stage stage, Work work);
    void run(Work work);
    void runNext();
    void end(const Outcome& outcome, bool isCancelled);
    void setStage(Stage stage);
    void fail(const std::string& sentence);
    void tookLook(Found found);
    void tookDailyLook(Found found);
    void progressed(std::uint64_t bytes);
    void gotPackage();
    UpdateRecord& record();
    void saveRecord() { record().save(m_services.record); }

    const UpdateServices m_services;
    Stage m_stage = Stage::idle;
    Stage m_failedStage = Stage::idle;
    std::optional<UpdateOffer> m_offer;
    std::optional<ReleaseVersion> m_installed;
    std::uint64_t m_bytesDone = 0;
    bool m_wasOpened = false;
    std::string m_fault;
    std::optional<UpdateRecord> m_record; // read when it is first needed
    bool m_hasTidied = false;
    Work m_next; // begins when the one before has ended
    bool m_isRunning = false;
    std::stop_source m_cancel;
    Timer m_daily;
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
