#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "settings/KeyTrial.h"
#include "settings/StoredKeys.h"
#include "shell/home/Note.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

class Background;
class HttpClient;
class MainQueue;
class SecureStore;
struct Deployment;

/// A service with its key, as a screen shows it. The key itself is never in it.
struct ServiceKeyRow {
    enum class State { reading, environment, keyring, absent, keyringSilent };
    enum class Work { none, storing, trying, removing };

    CloudService service{};
    std::string label = {};
    std::string purpose = {}; // what the service does here
    std::string site = {};    // where the user gets a key
    State state = State::reading;
    Work work = Work::none;
    Note note = {};       // what came of the last work
    bool isGiven = false; // a key comes from the account

    bool hasKey() const { return state == State::environment || state == State::keyring; }
    bool canRemove() const { return state == State::keyring && work == Work::none; }
    std::string status() const; // one line
    std::string hint() const;   // what the service is for, and where a key comes from
};

/// The keys of the services: where each is, entered, tried out with its service and removed.
///
/// Threads: main thread; the keyring and the services are asked on workers.
/// Errors:  in the notes.
/// Lifetime: work that is under way when this dies is finished.
class ServiceKeysModel {
public:
    /// All of them outlive the background's tasks.
    struct Services {
        SecureStore& store;
        ServiceKeys& keys;
        const Deployment& deployment;
        HttpClient& http;
        MainQueue& queue;
        Background& background;
    };

    explicit ServiceKeysModel(Services services);

    /// Looks again where the keys are; a screen that opens calls it. The user may be asked to unlock the keyring.
    void refresh();

    /// Those whose key something would use: Deepgram is chosen by Fenlo's own service only.
    const std::vector<ServiceKeyRow>& rows() const { return m_rows; }
    const ServiceKeyRow& row(CloudService service) const;

    /// Keeps what was typed in the keyring, for the next take on, and tries it out. False when it cannot be a key or
    /// the row is busy: then nothing was kept.
    bool enter(CloudService service, std::string_view typed);
    /// Tries out the key that counts.
    void test(CloudService service);
    /// Takes the key out of the keyring.
    void remove(CloudService service);

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    using Work = ServiceKeyRow::Work;
    using Report = std::function<void(Work, KeyPlace, Note)>;

    ServiceKeyRow& at(CloudService service);
    bool begin(CloudService service, Work work);
    Report reportOn(CloudService service); // for a worker

    const Services m_services;
    std::vector<ServiceKeyRow> m_rows;
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
