#include "app/Account.h"

#include "app/TakeServices.h"
#include "base/Json.h"
#include "base/MainQueue.h"
#include "meeting/MeetingMail.h"
#include "session/AppDelegate.h"
#include "settings/Config.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace fenlo {

namespace {

/// What the service knows of the user's profile, to see whether it has changed.
std::string profileText(const Settings& settings) {
    return writeJson(nlohmann::json{settings.profession, settings.professionRole, settings.professionSpecialties,
                                    settings.dictationTypes, settings.lawyerPracticeAreas,
                                    settings.dictationMode.word()});
}

} // namespace

Account::Account(const Surroundings& around)
    : backend(around.services.backend),
      statistics(around.background, [this](std::stop_token stop) { syncStatistics(std::move(stop)); }),
      profile(around.background, [this](std::stop_token stop) { backend.syncProfile(std::move(stop)); }),
      m_around(around), m_toldProfile(profileText(around.services.config.get())),
      m_settingsWatch(around.services.config.watch([this] { followProfile(); })),
      m_signedOut(around.notifications.observe(notification::userDidSignOut, [this](const auto&) { signedOut(); })) {}

void Account::addTo(AppHooks& hooks) {
    if (!backend.hasService())
        return;
    // The totals of the user's other machines come with the sign of life.
    hooks.sendHeartbeat = [this](std::stop_token stop) {
        backend.heartbeat(std::move(stop));
        statistics.ask();
    };
    hooks.syncProfile = [this](std::stop_token) { profile.ask(); };
    hooks.tellLogin = [this](const std::string& name, const std::string& email) {
        m_around.background.run([this, name, email](std::stop_token stop) {
            backend.sendLogin(email, name, std::move(stop));
            statistics.ask(); // those of all machines of this person
        });
    };
    hooks.tellRememberedLogin = [this](std::stop_token stop) { sendRememberedLogin(std::move(stop)); };
}

void Account::sendEvent(const std::string& name) {
    if (backend.hasService())
        m_around.background.run([this, name](std::stop_token stop) { backend.sendEvent(name, std::move(stop)); });
}

void Account::syncStatistics(std::stop_token stop) {
    if (!backend.hasService() || !backend.syncStats(std::move(stop)))
        return;
    m_around.mainQueue.post(
        [&notifications = m_around.notifications] { notifications.post(notification::statisticsChanged); });
}

void Account::sendRememberedLogin(std::stop_token stop) {
    Keychain& keychain = m_around.services.keychain;
    const auto email = keychain.load("google_user_email");
    const auto name = keychain.load("google_user_name");
    if (email || name)
        backend.sendLogin(email.value_or(""), name.value_or(""), std::move(stop));
}

void Account::followProfile() {
    std::string now = profileText(m_around.services.config.get());
    if (backend.hasService() && std::exchange(m_toldProfile, now) != now)
        profile.ask();
}

/// What is shown may be of another person soon.
void Account::signedOut() {
    m_around.services.statistics.forgetServerStats();
    m_around.notifications.post(notification::statisticsChanged);
}

ServiceMail serviceMail(BackendClient& backend) {
    if (!backend.hasService())
        return {};
    return [&backend](const MeetingMail& mail, std::stop_token stop) {
        return backend.sendMeetingEmail(requestBody(mail), std::move(stop), BackendClient::MailAnswer::success);
    };
}

} // namespace fenlo
