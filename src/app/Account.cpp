#include "app/Account.h"

#include "account/AccountItems.h"
#include "app/TakeServices.h"
#include "base/Json.h"
#include "base/MainQueue.h"
#include "meeting/MeetingMail.h"
#include "session/AppDelegate.h"
#include "settings/Config.h"
#include "settings/Deployment.h"

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

SignInServices signInServices(const Account::Surroundings& around, AccountStore& store) {
    return {around.deployment, around.http, store, around.workspace, around.clock, around.mainQueue, around.background};
}

} // namespace

Account::Account(const Surroundings& around)
    : backend(around.services.backend), store(around.services.keychain, around.mainQueue, around.background),
      listener(around.mainQueue, around.background), google(signInServices(around, store), listener),
      apple(signInServices(around, store)),
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
            m_around.services.configuration.askAgain();
            statistics.ask(); // those of all machines of this person
        });
    };
    if (m_around.deployment.offersGoogle())
        hooks.refreshSignIn = [this] { google.refreshIfNeeded([](bool) {}); };
    // To the service this machine may still be that of who signed out.
    hooks.nobodySignedIn = [this] { m_around.services.statistics.forgetServerStats(); };
    hooks.tellRememberedLogin = [this](std::stop_token stop) { sendRememberedLogin(std::move(stop)); };
}

SignIn Account::signIn() {
    const Deployment& deployment = m_around.deployment;
    if (!deployment.offersSignIn())
        return {};
    return {.begin = [this](SignInProvider provider, const SignIn::Told& told) { begin(provider, told); },
            .cancel = [this] { cancelSignIn(); },
            .giveEmail = [this](const std::string& email) { keepEmail(email); },
            .hasGoogle = deployment.offersGoogle(),
            .hasApple = deployment.offersApple()};
}

void Account::begin(SignInProvider provider, const SignIn::Told& told) {
    store.askAgain(); // the user is here to unlock the keyring
    if (provider == SignInProvider::google) {
        apple.cancel();
        google.signIn(
            [this, told](const GoogleAuthManager::Result& result) {
                using Error = GoogleAuthManager::AuthError;
                const auto* const error = std::get_if<Error>(&result);
                if (!error) {
                    const auto& user = std::get<GoogleUser>(result);
                    tell(told, {.error = {}, .name = user.name, .email = user.email});
                } else if (*error != Error::cancelled) {
                    tell(told, {.error = std::string(GoogleAuthManager::description(*error)), .name = {}, .email = {}});
                }
            },
            told.noBrowser);
        return;
    }
    google.cancel();
    apple.signIn(
        [this, told](const AppleAuthManager::Result& result) {
            if (const auto* const error = std::get_if<AppleAuthManager::AuthError>(&result))
                tell(told, {.error = error->description(), .name = {}, .email = {}});
            else
                tell(told, {.error = {},
                            .name = std::get<AppleUser>(result).name,
                            .email = std::get<AppleUser>(result).email});
        },
        told.noBrowser);
}

void Account::tell(const SignIn::Told& told, const SignInResult& result) {
    if (result.error.empty()) {
        m_around.services.statistics.followServer();
        m_around.notifications.post(notification::accountChanged);
    }
    told.done(result);
}

void Account::cancelSignIn() {
    google.cancel();
    apple.cancel();
}

/// The service is told as after any sign-in, with the name that is known.
void Account::keepEmail(const std::string& email) {
    store.run(
        [email](Keychain& keychain) {
            keychain.save(accountItem::userEmail, email);
            return keychain.load(accountItem::userName).value_or("");
        },
        [this, email](const std::string& name) {
            m_around.notifications.post(notification::accountChanged);
            m_around.background.run(
                [this, name, email](std::stop_token stop) { backend.sendLogin(email, name, std::move(stop)); });
        });
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
    const auto email = keychain.load(accountItem::userEmail);
    const auto name = keychain.load(accountItem::userName);
    if (email || name)
        backend.sendLogin(email.value_or(""), name.value_or(""), std::move(stop));
}

void Account::followProfile() {
    std::string now = profileText(m_around.services.config.get());
    if (backend.hasService() && std::exchange(m_toldProfile, now) != now)
        profile.ask();
}

/// To the service this machine stays that person's until another signs in, but what it tells of the person's other
/// machines is shown no more. A sign-in beside it would bring the person back.
void Account::signedOut() {
    cancelSignIn();
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
