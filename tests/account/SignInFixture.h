#pragma once

#include "account/AccountStore.h"
#include "account/SignInServices.h"
#include "settings/Deployment.h"
#include "support/FakeDesktop.h"
#include "support/FakeHttpClient.h"
#include "support/FakeLoopbackListener.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace fenlo::test {

/// What a way to sign in works with, on virtual time.
class SignInFixture : public ::testing::Test {
protected:
    SignInFixture() {
        deployment.serviceHost = "https://service.example";
        deployment.successPage = "https://service.example/auth/success";
        deployment.googleClientId = "client-id";
        deployment.googleClientSecret = "client secret";
        deployment.googleTokenUri = "https://tokens.example/token";
        deployment.googleUserInfoUri = "https://users.example/oauth2/v2/userinfo";
    }

    /// Runs all that is due, without advancing the time.
    void finish() {
        do {
            mainQueue.runPosted();
            background.runAll();
            mainQueue.runPosted();
        } while (background.pending() > 0);
    }
    std::string stored(const char* name) const {
        const auto found = secrets.values.find(name);
        return found == secrets.values.end() ? "(none)" : found->second;
    }

    Deployment deployment = Deployment::load();
    VirtualClock clock;
    VirtualMainQueue mainQueue{clock};
    ManualBackground background;
    FakeHttpClient http;
    FakeSecureStore secrets;
    Keychain keychain{secrets};
    AccountStore store{keychain, mainQueue, background};
    FakeWorkspace workspace;
    const LogCapture logged;
    const SignInServices services{deployment, http, store, workspace, clock, mainQueue, background};
};

} // namespace fenlo::test
