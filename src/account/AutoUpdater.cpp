#include "account/AutoUpdater.h"

#include "account/PackageCheck.h"
#include "account/PackageDownload.h"
#include "account/UpdateFolder.h"
#include "account/UpdateServer.h"
#include "base/Background.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "platform/PackageSystem.h"
#include "settings/Config.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

constexpr double firstLook = 600;     // seconds after the start, when the desktop has come to rest
constexpr double betweenLooks = 3600; // seconds: at whether a day has passed

PackageKey keyOf(const UpdateServices& services) {
    auto key = PackageKey::parse(services.key);
    if (!key)
        throw UpdateFault("This copy of Fenlo cannot check updates, because its signing key is damaged; install Fenlo "
                          "again.");
    return *key;
}

ReleaseVersion ownVersion(const UpdateServices& services) {
    auto version = ReleaseVersion::parse(services.version);
    if (!version)
        throw UpdateFault("This copy of Fenlo does not know its version; install Fenlo again.");
    return *version;
}

/// Hands on each per cent once, to the main thread, until the stop.
std::function<void(std::uint64_t)> eachPercent(std::function<void(std::uint64_t)> tell, std::uint64_t length,
                                               MainQueue& queue, const std::stop_token& stop) {
    return [tell = std::move(tell), length, &queue, stop, told = std::uint64_t(0)](std::uint64_t bytes) mutable {
        if (const std::uint64_t percent = bytes * 100 / length; percent > 0 && std::exchange(told, percent) != percent)
            queue.post([tell, bytes, stop] {
                if (!stop.stop_requested())
                    tell(bytes);
            });
    };
}

} // namespace

AutoUpdater::AutoUpdater(UpdateServices services) : m_services(std::move(services)) {}

AutoUpdater::~AutoUpdater() {
    m_cancel.request_stop();
}

void AutoUpdater::start() {
    m_daily = m_services.mainQueue.postAfter(firstLook, [this] {
        tick();
        m_daily = m_services.mainQueue.every(betweenLooks, [this] { tick(); });
    });
}

void AutoUpdater::tick() {
    if (m_stage != Stage::idle || m_isRunning)
        return;
    const bool looks = m_services.config.get().checkForUpdates && record().isDue(m_services.clock.wallTime());
    if (!looks && std::exchange(m_hasTidied, true))
        return;
    run([this, services = m_services, verified = record().newestVerified, looks](std::stop_token stop) -> Outcome {
        UpdateFolder(services.folder).removeUpTo(ownVersion(services));
        if (!looks)
            return [] {};
        return [this, found = look(services, verified, stop)] { tookDailyLook(found); };
    });
}

void AutoUpdater::checkForUpdates() {
    if (m_stage == Stage::downloading || m_stage == Stage::verifying)
        return;
    begin(Stage::checking,
          [this, services = m_services, verified = record().newestVerified](std::stop_token stop) -> Outcome {
              return [this, found = look(services, verified, stop)] { tookLook(found); };
          });
}

AutoUpdater::Found AutoUpdater::look(const UpdateServices& services,
                                     const std::optional<ReleaseVersion>& newestVerified, const std::stop_token& stop) {
    keyOf(services); // or nothing could be installed
    const UpdateServer server(services.http, services.feed);
    const ReleaseVersion running = ownVersion(services);
    UpdateGround ground{.origin = server.origin(),
                        .installed = running,
                        .takesPrereleases = running.isPrerelease(),
                        .newestVerified = newestVerified,
                        .architecture = {}};
    if (const auto package = services.packages.ownPackage(stop); package && package->name == packageName) {
        ground.architecture = package->architecture;
        if (const auto version = ReleaseVersion::ofPackage(package->version); version && *version > running)
            ground.installed = *version;
    }
    auto offer = chooseOffer(server.releases(stop), ground);
    return {ground.installed, std::move(offer)};
}

void AutoUpdater::tookLook(Found found) {
    record().lastCheck = m_services.clock.wallTime();
    saveRecord();
    m_installed = std::move(found.installed);
    m_offer = std::move(found.offer);
    logInfo("Updates: {}", m_offer ? m_offer->version.text() + " is there" : m_installed->text() + " is the newest");
    setStage(m_offer ? Stage::available : Stage::upToDate);
}

void AutoUpdater::tookDailyLook(Found found) {
    const bool isWanted = found.offer && record().skipped != found.offer->version;
    if (isWanted)
        return tookLook(std::move(found));
    record().lastCheck = m_services.clock.wallTime();
    saveRecord();
}

void AutoUpdater::install() {
    if (!m_offer || !m_offer->package)
        return;
    m_bytesDone = 0;
    begin(Stage::downloading,
          [this, services = m_services, offer = *m_offer,
           tell = std::function<void(std::uint64_t)>(
               m_lifetime.bind([this](std::uint64_t bytes) { progressed(bytes); }))](std::stop_token stop) -> Outcome {
              fetch(services, offer, eachPercent(tell, offer.package->length, services.mainQueue, stop), stop);
              return [this] { gotPackage(); };
          });
}

/// Verified, the package has its name in the folder.
void AutoUpdater::fetch(const UpdateServices& services, const UpdateOffer& offer,
                        const std::function<void(std::uint64_t)>& tell, const std::stop_token& stop) {
    const PackageKey key = keyOf(services);
    const UpdateFolder folder(services.folder);
    folder.prepare();
    folder.removeOthers(offer);
    const auto file = folder.packageFile(offer);
    const auto partial = folder.partialFile(offer);
    std::error_code error;
    if (std::filesystem::exists(file, error)) // downloaded before, and verified again below
        std::filesystem::rename(file, partial, error);
    PackageDownload(partial, *offer.package, tell).run(UpdateServer(services.http, services.feed), stop);
    try {
        requireRightPackage(partial, offer, key, services.packages, stop);
    } catch (const UpdateFault&) {
        if (!stop.stop_requested())
            files::removeQuietly(partial);
        throw;
    }
    std::filesystem::rename(partial, file, error);
    if (error)
        throw UpdateFault("The package cannot be given its name in " + services.folder.string() + ": " +
                          error.message() + "; try again.");
}

void AutoUpdater::progressed(std::uint64_t bytes) {
    if (m_stage != Stage::downloading)
        return;
    m_bytesDone = bytes;
    setStage(bytes == m_offer->package->length ? Stage::verifying : Stage::downloading);
}

void AutoUpdater::gotPackage() {
    UpdateRecord& remembered = record();
    if (!remembered.newestVerified || *remembered.newestVerified < m_offer->version)
        remembered.newestVerified = m_offer->version;
    saveRecord();
    logInfo("Updates: the package of {} is verified", m_offer->version.text());
    if (isBusy())
        setStage(Stage::verified);
    else
        openInstaller();
}

void AutoUpdater::openInstaller() {
    if (!m_offer || !m_offer->package)
        return;
    begin(Stage::verifying,
          [this, services = m_services, offer = *m_offer, file = packageFile()](std::stop_token stop) -> Outcome {
              requireRightPackage(file, offer, keyOf(services), services.packages, stop); // nothing lies between
              const bool opens = !stop.stop_requested() && services.packages.open(file);
              if (!opens && !stop.stop_requested())
                  services.packages.showInFolder(file, stop);
              return [this, opens] {
                  m_wasOpened = opens;
                  logInfo("Updates: the package was {}", opens ? "handed to the installer" : "shown in its folder");
                  setStage(Stage::handedOver);
              };
          });
}

void AutoUpdater::showInFolder() {
    if (m_stage != Stage::verified && m_stage != Stage::handedOver)
        return;
    run([&packages = m_services.packages, file = packageFile()](std::stop_token stop) -> Outcome {
        packages.showInFolder(file, stop);
        return [] {};
    });
}

void AutoUpdater::tryAgain() {
    if (m_stage != Stage::failed)
        return;
    if (m_failedStage == Stage::checking)
        checkForUpdates();
    else
        install();
}

void AutoUpdater::skipThisVersion() {
    if (m_offer) {
        record().skipped = m_offer->version;
        saveRecord();
    }
    later();
}

void AutoUpdater::later() {
    m_cancel.request_stop();
    m_next = nullptr;
    m_offer.reset();
    setStage(Stage::idle);
}

std::filesystem::path AutoUpdater::packageFile() const {
    return m_offer && m_offer->package ? UpdateFolder(m_services.folder).packageFile(*m_offer)
                                       : std::filesystem::path();
}

std::string AutoUpdater::notice() const {
    return m_stage == Stage::available ? "Fenlo " + m_offer->version.text() + " is available" : "";
}

void AutoUpdater::begin(Stage stage, Work work) {
    m_fault.clear();
    setStage(stage);
    run(std::move(work));
}

/// Ends the work under way, whose outcome nobody wants any more, and begins this one after it.
void AutoUpdater::run(Work work) {
    m_cancel.request_stop();
    m_cancel = {};
    m_next = std::move(work);
    runNext();
}

void AutoUpdater::runNext() {
    if (m_isRunning || !m_next)
        return;
    m_isRunning = true;
    m_services.background.run(
        [work = std::exchange(m_next, nullptr), cancel = m_cancel, &queue = m_services.mainQueue,
         tell = m_lifetime.bind([this](const Outcome& outcome, bool isCancelled) { end(outcome, isCancelled); }),
         complain = [this](const std::string& sentence) -> Outcome { return [this, sentence] { fail(sentence); }; }](
            std::stop_token quitting) {
            std::stop_source either = cancel;
            const std::stop_callback onQuit(std::move(quitting), [&] { either.request_stop(); });
            Outcome outcome;
            try {
                outcome = work(either.get_token());
            } catch (const UpdateFault& fault) {
                outcome = complain(fault.what());
            } catch (const std::exception& error) {
                logError("the search for updates ended: {}", error.what());
                outcome = complain("Fenlo could not finish this; try again.");
            }
            queue.post([tell, outcome, either]() mutable { tell(outcome, either.stop_requested()); });
        });
}

void AutoUpdater::end(const Outcome& outcome, bool isCancelled) {
    m_isRunning = false;
    if (!isCancelled)
        outcome();
    runNext();
}

void AutoUpdater::fail(const std::string& sentence) {
    logInfo("Updates: {}", sentence);
    if (m_stage == Stage::idle) // a daily look: nobody waits for it
        return;
    m_failedStage = m_stage;
    m_fault = sentence;
    setStage(Stage::failed);
}

void AutoUpdater::setStage(Stage stage) {
    m_stage = stage;
    m_changes.tell();
}

UpdateRecord& AutoUpdater::record() {
    if (!m_record)
        m_record = UpdateRecord::load(m_services.record);
    return *m_record;
}

} // namespace fenlo
