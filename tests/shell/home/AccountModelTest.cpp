#include "shell/home/AccountModel.h"
#include "shell/Sounds.h"
#include "shell/home/HomeViewModel.h"
#include "speech/LocalTranscriber.h"
#include "support/FakeAudio.h"
#include "support/FakeDesktop.h"
#include "support/FakeSecureStore.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

using AccountState = AccountModel::State;

class AccountPage : public ::testing::Test {
protected:
    void open(bool isOffered = true) {
        page = std::make_unique<AccountModel>(AccountModel::Services{account, settings, notifications, isOffered});
        page->refresh();
        settle();
    }
    void settle() {
        background.runAll();
        queue.runPosted();
    }

    const TemporaryFolder home;
    VirtualClock clock;
    VirtualMainQueue queue{clock};
    ManualBackground background;
    Config config{home / "config.json", clock};
    NotificationCenter notifications;
    FakeSecureStore secrets;
    Keychain keychain{secrets};
    AccountStore account{keychain, queue, background};
    LocalTranscriber transcriber{
        "small", home / "models",
        [](const auto&, const auto&, const auto&, std::stop_token) { return LocalTranscriber::Engine(); }, clock};
    FakeAudioOutput output;
    TonePlayer tones{output, background};
    FakeWorkspace workspace;
    HomeViewModel settings{{config, queue, background, notifications, account, transcriber, tones, workspace}};
    std::unique_ptr<AccountModel> page;
};

TEST_F(AccountPage, ShowsWhoIsSignedInAndSignsOutOnce) {
    int signedOut = 0;
    const auto observation = notifications.observe(notification::userDidSignOut, [&](const auto&) { ++signedOut; });
    open();
    EXPECT_EQ(page->title(), "You use Fenlo without an account");
    page->signOut();
    EXPECT_FALSE(page->isSigningOut());

    secrets.values = {{"google_user_email", "ada@example.org"}, {"google_user_name", "Ada"}};
    notifications.post(notification::accountChanged); // by a login beside it
    settle();
    EXPECT_EQ(page->state(), AccountState::user);
    EXPECT_EQ(page->title(), "Ada");
    EXPECT_EQ(page->hint(), "ada@example.org\nSigned in with Google");
    secrets.values = {{"google_user_name", "Ada"}, {"google_refresh_token", "apple_1"}, {"auth_provider", "apple"}};
    page->refresh();
    settle();
    EXPECT_EQ(page->hint(), "Signed in with Apple");

    page->signOut();
    EXPECT_TRUE(page->isSigningOut());
    page->signOut();
    settle();
    settle();
    EXPECT_EQ(signedOut, 1);
    EXPECT_TRUE(secrets.values.empty());
    EXPECT_EQ(page->state(), AccountState::nobody);
}

TEST_F(AccountPage, RefusedSignOutIsTold) {
    int signedOut = 0;
    const auto observation = notifications.observe(notification::userDidSignOut, [&](const auto&) { ++signedOut; });
    secrets.values = {{"google_user_email", "ada@example.org"}};
    secrets.isFixed = true;
    open();
    page->signOut();
    settle();
    settle();
    EXPECT_EQ(signedOut, 0) << "who is still signed in is not shown the login";
    EXPECT_EQ(page->state(), AccountState::user);
    EXPECT_EQ(page->hint(), "The sign-in is still in your keyring, which did not let it go: unlock the keyring, then "
                            "sign out again.");
    EXPECT_EQ(secrets.askedAgain, 1) << "the keyring may ask for its password";

    secrets.isFixed = false;
    page->signOut();
    settle();
    settle();
    EXPECT_EQ(signedOut, 1);
    EXPECT_EQ(page->state(), AccountState::nobody);
}

TEST_F(AccountPage, SilentKeyringIsNoMissingAccount) {
    secrets.isAvailable = false;
    open();
    EXPECT_EQ(page->state(), AccountState::keyringSilent);
    secrets.isAvailable = true;
    secrets.values = {{"google_user_email", "ada@example.org"}};
    page->lookAgain();
    EXPECT_EQ(page->state(), AccountState::reading);
    EXPECT_EQ(secrets.askedAgain, 1);
    settle();
    EXPECT_EQ(page->title(), "ada@example.org");
}

TEST_F(AccountPage, KeyringIsNotAskedWhereNobodyOffersAccounts) {
    open(false);
    EXPECT_EQ(background.pending(), 0u);
    EXPECT_FALSE(page->isOffered());
}

} // namespace
