#include "account/AppleAuthManager.h"

#include "SignInFixture.h"

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

class AppleSignIn : public SignInFixture {
protected:
    AppleSignIn() {
        http.onSend = [this](const HttpRequest& request) {
            timeouts.push_back(request.timeout);
            return reply;
        };
    }

    void begin() {
        apple.signIn([this](const AppleAuthManager::Result& result) { results.push_back(textOf(result)); });
    }
    static std::string textOf(const AppleAuthManager::Result& result) {
        if (const auto* user = std::get_if<AppleUser>(&result))
            return user->name + " <" + user->email + ">";
        return std::get<AppleAuthManager::AuthError>(result).description();
    }
    void pass(double seconds) {
        for (double passed = 0; passed < seconds; passed += 0.5) {
            mainQueue.advance(0.5);
            finish();
        }
    }
    std::string session() const { return workspace.opened.back().substr(workspace.opened.back().find("state=") + 6); }
    void signIn(const std::string& body) {
        results.clear();
        reply = {200, {}, body};
        begin();
        pass(2);
    }

    HttpResponse reply{200, {}, R"({"status":"pending"})"};
    std::vector<double> timeouts;
    AppleAuthManager apple{services};
    std::vector<std::string> results;
};

TEST_F(AppleSignIn, AsksTheServiceUntilItKnows) {
    begin();
    ASSERT_EQ(workspace.opened.size(), 1u);
    EXPECT_THAT(workspace.opened[0],
                StartsWith("https://appleid.apple.com/auth/authorize?client_id=com.fenlo.voicetotext.web&redirect_uri="
                           "https%3A%2F%2Fservice.example%2Fapi%2Fv1%2Fauth%2Fapple%2Fcallback&response_type=code%20id_"
                           "token&scope=name%20email&response_mode=form_post&state="));
    EXPECT_EQ(session().size(), 36u);
    pass(1.5);
    EXPECT_THAT(http.requests, IsEmpty()) << "nobody can have finished yet";
    for (const char* nothing :
         {R"({"status":"pending"})", R"({"status":"later"})", R"(["ok"])", "<html>", R"({"status":7})"}) {
        reply.body = nothing;
        pass(2);
    }
    EXPECT_THAT(results, IsEmpty());
    reply.body = R"({"status":"ok","email":"ada@example.org","name":"Ada"})";
    pass(2);
    EXPECT_THAT(results, ElementsAre("Ada <ada@example.org>"));
    ASSERT_EQ(http.requests.size(), 6u);
    EXPECT_EQ(http.requests[5].url, "https://service.example/api/v1/auth/apple/status?session=" + session());
    EXPECT_EQ(stored("google_user_email"), "ada@example.org");
    EXPECT_EQ(stored("google_user_name"), "Ada");
    EXPECT_EQ(stored("google_refresh_token"), "apple_" + session());
    EXPECT_EQ(stored("auth_provider"), "apple");
    EXPECT_TRUE(logged.contains("[Fenlo] Apple: signed in as ada@example.org"));
    pass(200);
    EXPECT_EQ(http.requests.size(), 6u);
}

TEST_F(AppleSignIn, GivesUpAfterSixtyPolls) {
    reply = {500, {}, R"({"status":"ok"})"};
    begin();
    pass(119.5);
    EXPECT_THAT(results, IsEmpty());
    pass(30);
    EXPECT_THAT(results, ElementsAre("Login timed out"));
    EXPECT_EQ(http.requests.size(), 60u);
    EXPECT_EQ(timeouts.front(), 60.0);
    EXPECT_EQ(timeouts.back(), 2.0);
}

TEST_F(AppleSignIn, ServiceThatHangsCannotStretchIt) {
    http.onSend = [this](const HttpRequest& request) -> HttpResponse {
        clock.advance(request.timeout);
        throw HttpError(HttpError::Kind::timeout, "service.example did not answer in time");
    };
    begin();
    const double start = clock.now();
    while (results.empty())
        pass(0.5);
    EXPECT_THAT(results, ElementsAre("Login timed out"));
    EXPECT_LE(clock.now() - start, 125.0);
    EXPECT_TRUE(logged.contains("[Fenlo] Apple auth poll attempt 1 failed: service.example did not answer in time"));
}

TEST_F(AppleSignIn, NamesAndAddressesThatAreMissing) {
    secrets.values = {{"google_user_email", "older@example.org"},
                      {"google_access_token", "a"},
                      {"google_token_expiry", "2026-11-22T12:00:00Z"}};
    signIn(R"({"status":"ok","name":"Ada"})");
    EXPECT_THAT(results, ElementsAre("Ada <>"));
    EXPECT_EQ(stored("google_user_email"), "older@example.org");
    EXPECT_TRUE(logged.contains("[Fenlo] Apple: signed in as (no email)"));
    EXPECT_EQ(stored("google_access_token"), "(none)") << "the session is no refresh token of Google's";
    EXPECT_EQ(stored("google_token_expiry"), "(none)");

    signIn(R"({"status":"ok","email":"ada@lovelace@example.org","name":""})");
    EXPECT_THAT(results, ElementsAre("ada <ada@lovelace@example.org>"));
    signIn(R"({"status":"ok"})");
    EXPECT_THAT(results, ElementsAre("User <>"));
    signIn(R"({"status":"ok","email":7,"name":["x"]})");
    EXPECT_THAT(results, ElementsAre("User <>"));
}

TEST_F(AppleSignIn, ErrorsOfTheServiceAreShownOnOneLine) {
    signIn(R"({"status":"error","error":"You have\r\nrefused."})");
    EXPECT_THAT(results, ElementsAre("You have refused."));
    signIn(R"({"status":"error"})");
    EXPECT_THAT(results, ElementsAre("Login failed"));
    signIn(R"({"status":"error","error":"" })");
    EXPECT_THAT(results, ElementsAre("Login failed"));
    EXPECT_TRUE(secrets.values.empty());
}

TEST_F(AppleSignIn, CancelAndASecondAttemptEndTheFirst) {
    begin();
    pass(3);
    apple.cancel();
    pass(130);
    EXPECT_EQ(http.requests.size(), 1u);
    EXPECT_THAT(results, IsEmpty());

    reply.body = R"({"status":"ok","name":"Ada"})";
    begin();
    mainQueue.advance(2);
    background.runAll(); // the answer is under way, when
    begin();
    finish();
    EXPECT_THAT(results, IsEmpty());
    EXPECT_TRUE(secrets.values.empty());
    pass(2);
    EXPECT_THAT(results, ElementsAre("Ada <>"));
    EXPECT_EQ(stored("google_refresh_token"), "apple_" + session());
}

TEST_F(AppleSignIn, CancelWhileTheUserIsStoredLeavesNothing) {
    reply.body = R"({"status":"ok","name":"Ada"})";
    begin();
    mainQueue.advance(2);
    background.runAll();
    mainQueue.runPosted();
    background.runAll();
    EXPECT_EQ(stored("google_user_name"), "Ada");
    apple.cancel();
    finish();
    EXPECT_TRUE(secrets.values.empty());
    EXPECT_THAT(results, IsEmpty());
}

} // namespace
