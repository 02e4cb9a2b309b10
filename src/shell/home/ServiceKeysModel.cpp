#include "shell/home/ServiceKeysModel.h"

#include "base/Background.h"
#include "base/MainQueue.h"
#include "platform/SecureStore.h"
#include "settings/Deployment.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

namespace fenlo {

namespace {

using State = ServiceKeyRow::State;

constexpr const char* silentKeyring = "The keyring does not answer. Unlock it, or install gnome-keyring or KWallet.";

struct ServicePage {
    CloudService service;
    const char* purpose;
    const char* site;
};

constexpr ServicePage pages[] = {
    {CloudService::groq, "Turns speech into text, and polishes it", "console.groq.com/keys"},
    {CloudService::gemini, "Polishes text and answers questions", "aistudio.google.com/apikey"},
    {CloudService::deepgram, "Turns speech into text where Fenlo's own service chooses it", "console.deepgram.com"},
    {CloudService::grok, "Turns speech into text, with \"Algo 8.1\"", "console.x.ai"},
};

State stateOf(KeyPlace place) {
    switch (place) {
    case KeyPlace::environment:
        return State::environment;
    case KeyPlace::keyring:
        return State::keyring;
    case KeyPlace::nowhere:
        return State::absent;
    case KeyPlace::keyringSilent:
        return State::keyringSilent;
    }
    std::abort();
}

Note noteOf(KeyVerdict verdict, CloudService service) {
    const std::string text = describe(verdict, service);
    switch (verdict) {
    case KeyVerdict::accepted:
        return {Note::Kind::good, text};
    case KeyVerdict::refused:
        return {Note::Kind::error, text};
    case KeyVerdict::cancelled:
        return {};
    case KeyVerdict::limited:
    case KeyVerdict::noNetwork:
    case KeyVerdict::noAnswer:
    case KeyVerdict::noVerdict:
        break;
    }
    return {Note::Kind::warning, text};
}

} // namespace

std::string ServiceKeyRow::status() const {
    switch (state) {
    case State::reading:
        return "Looking for the key…";
    case State::environment:
        return std::string("Key from ") + serviceKey(service).variable + " in the environment";
    case State::keyring:
        return "Key in the keyring";
    case State::absent:
        return isGiven ? "Key from your account" : "No key";
    case State::keyringSilent:
        return silentKeyring;
    }
    std::abort();
}

std::string ServiceKeyRow::hint() const {
    return hasKey() || isGiven ? purpose : purpose + ". Get a key at " + site;
}

ServiceKeysModel::ServiceKeysModel(Services services) : m_services(services) {
    for (const ServicePage& page : pages)
        if (page.service != CloudService::deepgram || services.deployment.hasService())
            m_rows.push_back({page.service, serviceKey(page.service).label, page.purpose, page.site});
}

const ServiceKeyRow& ServiceKeysModel::row(CloudService service) const {
    return *std::ranges::find(m_rows, service, &ServiceKeyRow::service);
}

ServiceKeyRow& ServiceKeysModel::at(CloudService service) {
    return *std::ranges::find(m_rows, service, &ServiceKeyRow::service);
}

void ServiceKeysModel::refresh() {
    m_services.store.askAgain();
    const std::function<void(CloudService, State, bool)> done =
        m_lifetime.bind([this](CloudService service, State state, bool isGiven) {
            ServiceKeyRow& row = at(service);
            row.isGiven = isGiven;
            if (row.work == Work::none)
                row.state = state;
            m_changes.tell();
        });
    std::vector<CloudService> shown;
    for (const ServiceKeyRow& row : m_rows)
        shown.push_back(row.service);
    m_services.background.run([services = m_services, shown, done](std::stop_token stop) {
        const auto given = services.keys.remoteAtHand().value_or(ServiceKeys::Configuration());
        for (const CloudService service : shown) {
            if (stop.stop_requested())
                return;
            const ServiceKey& key = serviceKey(service);
            const State state = stateOf(placeOf(key, services.store));
            const bool isGiven = !keyInConfiguration(key, given).empty();
            services.queue.post([done, service, state, isGiven] { done(service, state, isGiven); });
        }
    });
}

bool ServiceKeysModel::begin(CloudService service, Work work) {
    ServiceKeyRow& row = at(service);
    if (row.work != Work::none)
        return false;
    row.work = work;
    row.note = {};
    m_changes.tell();
    return true;
}

ServiceKeysModel::Report ServiceKeysModel::reportOn(CloudService service) {
    const Report tell = m_lifetime.bind([this, service](Work work, KeyPlace place, Note note) {
        ServiceKeyRow& row = at(service);
        row.work = work;
        row.state = stateOf(place);
        row.note = std::move(note);
        m_changes.tell();
    });
    return [tell, &queue = m_services.queue](Work work, KeyPlace place, Note note) {
        queue.post([tell, work, place, note = std::move(note)] { tell(work, place, note); });
    };
}

bool ServiceKeysModel::enter(CloudService service, std::string_view typed) {
    auto key = checkedKey(typed);
    if (at(service).work != Work::none)
        return false;
    if (!key) {
        at(service).note = {Note::Kind::error, "That is no key: a key is one line without blanks."};
        m_changes.tell();
        return false;
    }
    begin(service, Work::storing);
    m_services.background.run(
        [services = m_services, service, key = *key, report = reportOn(service)](std::stop_token stop) {
            const ServiceKey& wanted = serviceKey(service);
            services.store.askAgain();
            const auto fault = storeKey(wanted, key, services.store);
            services.keys.forgetKeyring(service);
            const KeyPlace place = placeOf(wanted, services.store);
            if (fault && place != KeyPlace::keyring)
                return report(Work::none, place, {Note::Kind::error, "The key was not kept: " + *fault + "."});
            report(Work::trying, place, {});
            Note note = noteOf(tryKey(service, key, services.deployment, services.http, stop), service);
            if (fault)
                note = {Note::Kind::warning, note.text + " No keyring took it, so it is forgotten when Fenlo ends."};
            else if (place == KeyPlace::environment)
                note.text += std::string(" The one in ") + wanted.variable + " comes first.";
            report(Work::none, place, note);
        });
    return true;
}

void ServiceKeysModel::test(CloudService service) {
    if (!begin(service, Work::trying))
        return;
    m_services.background.run([services = m_services, service, report = reportOn(service)](std::stop_token stop) {
        const ServiceKey& wanted = serviceKey(service);
        const KeyPlace place = placeOf(wanted, services.store);
        const std::string key = usersKey(wanted, services.store);
        const Note note = key.empty() ? Note{Note::Kind::error, "There is no key to test."}
                                      : noteOf(tryKey(service, key, services.deployment, services.http, stop), service);
        report(Work::none, place, note);
    });
}

void ServiceKeysModel::remove(CloudService service) {
    if (!at(service).canRemove() || !begin(service, Work::removing))
        return;
    m_services.background.run([services = m_services, service, report = reportOn(service)](std::stop_token) {
        const ServiceKey& wanted = serviceKey(service);
        const auto fault = removeKey(wanted, services.store);
        services.keys.forgetKeyring(service);
        const Note note = fault ? Note{Note::Kind::error, "The key was not removed: " + *fault + "."}
                                : Note{Note::Kind::info, "The key was removed."};
        report(Work::none, placeOf(wanted, services.store), note);
    });
}

} // namespace fenlo
