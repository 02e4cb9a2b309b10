#pragma once

#include "account/AccountStore.h"
#include "account/AppleAuthManager.h"
#include "account/GoogleAuthManager.h"
#include "account/LatestTask.h"
#include "base/Changes.h"
#include "base/NotificationCenter.h"
#include "meeting/MeetingDelivery.h"
#include "platform/linux/net/SocketLoopbackListener.h"
#include "shell/onboarding/SignIn.h"

#include <stop_token>
#include <string>

namespace fenlo {

class Background;
class BackendClient;
class Clock;
class HttpClient;
class MainQueue;
class Workspace;
struct AppHooks;
struct Deployment;
struct TakeServices;

/// The account and what belongs to it: one object of each. Made before what asks it; what is passed in outlives it.
///
/// Threads: main thread, unless said otherwise.
struct Account {
    struct Surroundings {
        TakeServices& services;
        const Deployment& deployment;
        HttpClient& http;
        Workspace& workspace;
        Clock& clock;
        MainQueue& mainQueue;
        Background& background;
        NotificationCenter& notifications;
    };

    explicit Account(const Surroundings& around);
    Account(const Account&) = delete;
    Account& operator=(const Account&) = delete;

    /// What start-up and the first start tell the service.
    void addTo(AppHooks& hooks);
    /// The way in, for the first start; none where the deployment has none.
    SignIn signIn();
    /// An event of the first start. Returns at once.
    void sendEvent(const std::string& name);

    BackendClient& backend;
    AccountStore store;
    SocketLoopbackListener listener;
    GoogleAuthManager google;
    AppleAuthManager apple;
    LatestTask statistics; // tells the service what was dictated; on any thread
    LatestTask profile;    // tells the service what the settings say of the user

private:
    void syncStatistics(std::stop_token stop);
    void sendRememberedLogin(std::stop_token stop);
    void followProfile();
    void signedOut();
    void begin(SignInProvider provider, const SignIn::Told& told);
    void cancelSignIn();
    void tell(const SignIn::Told& told, const SignInResult& result);
    void keepEmail(const std::string& email);

    const Surroundings m_around;
    std::string m_toldProfile; // as one text
    Changes::Watch m_settingsWatch;
    NotificationCenter::Observation m_signedOut;
};

/// Mails of meetings by the service; empty where there is none.
ServiceMail serviceMail(BackendClient& backend);

} // namespace fenlo
