#include "SignInFixture.h"

using namespace fenlo;
using namespace fenlo::test;

namespace {

class AccountSecrets : public SignInFixture {
protected:
    SignedIn read() {
        SignedIn found;
        store.read([&](const SignedIn& who) { found = who; });
        finish();
        return found;
    }
};

TEST_F(AccountSecrets, TellWhoIsSignedInAndHow) {
    EXPECT_EQ(read().state, SignedIn::State::nobody);
    secrets.values = {{"google_refresh_token", "r"}};
    EXPECT_EQ(read().state, SignedIn::State::nobody) << "tokens alone are of a sign-in that failed";
    secrets.values["google_user_email"] = "ada@example.org";
    secrets.values["google_user_name"] = "Ada";
    EXPECT_EQ(read().state, SignedIn::State::user);
    EXPECT_EQ(read().email, "ada@example.org");
    EXPECT_FALSE(read().isApple);
    secrets.values = {{"google_refresh_token", "apple_1"}, {"auth_provider", "apple"}, {"google_user_name", "User"}};
    EXPECT_EQ(read().state, SignedIn::State::user);
    EXPECT_TRUE(read().isApple);
    EXPECT_EQ(read().name, "User");
    secrets.isAvailable = false;
    EXPECT_EQ(read().state, SignedIn::State::unknown);
}

} // namespace
