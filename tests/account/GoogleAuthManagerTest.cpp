#include "account/GoogleAuthManager.h"

#include "SignInFixture.h"
#include "account/GoogleWire.h"
#include "base/Dates.h"

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace {

using GoogleError = GoogleAuthManager::AuthError;

constexpr char googleTokens[] =
    R"({"access_token":"MARK-access","refresh_token":"MARK-refresh","expires_in":3599,"token_type":"Bearer"})";
constexpr char googleUser[] = R"({"email":"ada@example.org","name":"Ada","picture":"https://pictures.example/ada"})";

class GoogleSignIn : public SignInFixture {
protected:
    GoogleSignIn() {
        http.onSend = [this](const HttpRequest& request) {
            return request.url == deployment.googleTokenUri ? tokenReply : userReply;
        };
    }

    void begin() {
        google.signIn([this](const GoogleAuthManager::Result& result) { results.push_back(textOf(result)); },
                      [this](const std::string& address) { offered.push_back(address); });
        mainQueue.runPosted();
    }
    static std::string textOf(const GoogleAuthManager::Result& result) {
        if (const auto* who = std::get_if<GoogleUser>(&result))
            return who->name + " <" + who->email + "> " + who->picture;
        return std::string(GoogleAuthManager::description(std::get<GoogleError>(result)));
    }
    /// The browser comes back.
    std::string redirect(const std::string& target) {
        return listener.send("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n\r\n").value_or("(refused)");
    }
    void signInWith(const std::string& tokenBody) {
        tokenReply.body = tokenBody;
        begin();
        redirect("/?code=MARK-code");
        finish();
    }
    std::string item(const std::string& address, const std::string& name) const {
        const auto start = address.find(name + "=") + name.size() + 1;
        return address.substr(start, address.find('&', start) - start);
    }
    std::string inSeconds(double seconds) const {
        return dates::isoTimestamp(clock.wallTime() + std::chrono::seconds(int(seconds)));
    }
    bool refresh() {
        bool isUsable = false;
        google.refreshIfNeeded([&](bool usable) { isUsable = usable; });
        finish();
        return isUsable;
    }

    HttpResponse tokenReply{200, {}, googleTokens};
    HttpResponse userReply{200, {}, googleUser};
    FakeLoopbackListener listener{mainQueue};
    GoogleAuthManager google{services, listener};
    std::vector<std::string> results, offered;
};

TEST_F(GoogleSignIn, WalksFromTheBrowserToTheUser) {
    begin();
    ASSERT_EQ(workspace.opened.size(), 1u);
    const std::string address = workspace.opened[0];
    EXPECT_THAT(address, StartsWith("https://accounts.google.com/o/oauth2/auth?client_id=client-id&redirect_uri="
                                    "http%3A%2F%2Flocalhost%3A40001&response_type=code&scope=openid%20email%20profile&"
                                    "code_challenge="));
    EXPECT_TRUE(address.ends_with("&code_challenge_method=S256&access_type=offline&prompt=consent")) << address;

    EXPECT_EQ(redirect("/?iss=x&code=4%2F0MARK-code&scope=a"),
              "HTTP/1.1 302 Found\r\nLocation: https://service.example/auth/success\r\nContent-Length: 0\r\n\r\n");
    EXPECT_FALSE(listener.isListening());
    mainQueue.advance(200); // the time-out is of the browser
    finish();
    EXPECT_THAT(results, ElementsAre("Ada <ada@example.org> https://pictures.example/ada"));

    ASSERT_EQ(http.requests.size(), 2u);
    const HttpRequest& exchange = http.requests[0];
    EXPECT_EQ(exchange.method, "POST");
    EXPECT_EQ(exchange.timeout, 60.0);
    EXPECT_THAT(exchange.headers, ElementsAre(std::pair("Content-Type", "application/x-www-form-urlencoded")));
    EXPECT_THAT(
        exchange.body,
        StartsWith("code=4%2F0MARK-code&client_id=client-id&client_secret=client%20secret&redirect_uri=http%3A%2F%"
                   "2Flocalhost%3A40001&grant_type=authorization_code&code_verifier="));
    const std::string verifier = item(exchange.body, "code_verifier");
    EXPECT_TRUE(verifier.size() == 43 && verifier.find_first_of("+/=%") == std::string::npos) << verifier;
    EXPECT_EQ(item(address, "code_challenge").size(), 43u);
    EXPECT_NE(item(address, "code_challenge"), verifier);
    EXPECT_EQ(http.requests[1].method, "GET");
    EXPECT_THAT(http.requests[1].headers, ElementsAre(std::pair("Authorization", "Bearer MARK-access")));

    EXPECT_EQ(stored("google_access_token"), "MARK-access");
    EXPECT_EQ(stored("google_refresh_token"), "MARK-refresh");
    EXPECT_EQ(stored("google_token_expiry"), inSeconds(3599));
    EXPECT_EQ(stored("google_user_email"), "ada@example.org");
    EXPECT_EQ(stored("google_user_name"), "Ada");
    EXPECT_TRUE(logged.contains("[Fenlo] Google: refresh token saved"));
    EXPECT_TRUE(logged.contains("[Fenlo] Google: signed in as ada@example.org"));
    for (const std::string& line : logged.lines())
        EXPECT_THAT(line, Not(HasSubstr("MARK")));
}

TEST_F(GoogleSignIn, VerifiersAreFreshAndTheChallengeIsTheirHash) {
    begin();
    const std::string first = item(workspace.opened.back(), "code_challenge");
    begin();
    EXPECT_NE(item(workspace.opened.back(), "code_challenge"), first);
    // The example of RFC 7636.
    EXPECT_EQ(googleWire::challengeOf("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"),
              "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
}

TEST_F(GoogleSignIn, FailuresEndInOneSentence) {
    const std::vector<std::pair<std::function<void()>, std::string>> cases{
        {[&] { redirect("/?error=access_denied&state=code"); }, "No authorization code received"},
        {[&] { redirect("/favicon.ico"); }, "No authorization code received"},
        {[&] { redirect("/?code=%ZZ"); }, "No authorization code received"},
        {[&] { listener.breakDown("MARK-fault"); }, "No authorization code received"},
        {[&] {
             tokenReply = {400, {}, R"({"error":"invalid_grant MARK"})"}, redirect("/?code=MARK");
         },
         "Failed to exchange code for tokens"},
        {[&] {
             tokenReply = {200, {}, "<html>MARK</html>"}, redirect("/?code=MARK");
         },
         "Failed to exchange code for tokens"},
        {[&] {
             tokenReply = {200, {}, R"({"access_token":"a\r\nX-Header: b"})"}, redirect("/?code=MARK");
         },
         "Failed to exchange code for tokens"},
        {[&] {
             tokenReply = {200, {}, googleTokens}, userReply = {200, {}, R"({"email":"a@b.c"})"},
             redirect("/?code=MARK");
         },
         "Failed to fetch user info"},
        {[&] { mainQueue.advance(120); }, "Login timed out"},
        {[&] { google.cancel(); }, "Login cancelled"},
    };
    for (const auto& [fail, sentence] : cases) {
        results.clear();
        begin();
        fail();
        finish();
        EXPECT_THAT(results, ElementsAre(sentence));
        EXPECT_FALSE(listener.isListening());
        mainQueue.advance(300);
        finish();
        EXPECT_EQ(results.size(), 1u) << "told once: " << sentence;
    }
    EXPECT_TRUE(logged.contains("[Fenlo] ERROR: Google auth: listener failed: MARK-fault"));
    EXPECT_FALSE(logged.contains("invalid_grant"));
    // What came before the user was asked for stays, and nobody is signed in.
    EXPECT_EQ(stored("google_refresh_token"), "MARK-refresh");
    EXPECT_EQ(stored("google_user_email"), "(none)");

    results.clear();
    listener.error = "too many open files";
    begin();
    finish();
    EXPECT_THAT(results, ElementsAre("Failed to exchange code for tokens"));
    EXPECT_TRUE(logged.contains("[Fenlo] ERROR: Google auth: failed to create listener: too many open files"));
    http.onSend = [](const HttpRequest&) -> HttpResponse {
        throw HttpError(HttpError::Kind::timeout, "tokens.example did not answer in time");
    };
    listener.error.reset();
    signInWith("");
    EXPECT_EQ(results.back(), "Failed to exchange code for tokens");
    EXPECT_TRUE(
        logged.contains("[Fenlo] ERROR: Google auth: the exchange failed: tokens.example did not answer in time"));
}

TEST_F(GoogleSignIn, WhoRefusedSeesTheFailurePage) {
    begin();
    EXPECT_EQ(redirect("/?error=access_denied"),
              "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n\r\n<html><body><h2>Login failed</h2><p>Please try "
              "again.</p></body></html>");
    EXPECT_EQ(redirect("/?code=1"), "(refused)") << "it was the only one";
}

TEST_F(GoogleSignIn, WithoutASuccessPageTheBrowserShowsOneOfOurs) {
    deployment.successPage.clear();
    begin();
    const std::string answer = redirect("/?code=MARK-code");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer, HasSubstr("You are signed in."));
    EXPECT_THAT(answer, HasSubstr("You can close this tab."));
    EXPECT_THAT(answer, Not(HasSubstr("MARK")));
}

TEST_F(GoogleSignIn, WhatIsNoRequestDoesNotEndIt) {
    begin();
    for (const std::string& probe : {std::string("\x16\x03\x01\0\0", 5), std::string("HELP\r\n\r\n"),
                                     std::string("\xff\xfe\xfd"), "GET /?code=cut-o" + std::string(70'000, 'f')})
        EXPECT_EQ(listener.send(probe), "");
    EXPECT_EQ(listener.send(""), "");
    EXPECT_THAT(results, IsEmpty());
    redirect("/?code=1");
    finish();
    EXPECT_EQ(results.size(), 1u);
}

TEST_F(GoogleSignIn, SecondAttemptReplacesTheFirst) {
    begin();
    redirect("/?code=first");
    std::vector<std::string> second;
    http.onSend = [this](const HttpRequest& request) {
        return HttpResponse{200, {}, request.url == deployment.googleTokenUri ? googleTokens : googleUser};
    };
    google.signIn([&](const auto& result) { second.push_back(textOf(result)); });
    finish();
    EXPECT_THAT(results, IsEmpty()) << "dropped";
    EXPECT_EQ(stored("google_access_token"), "(none)") << "and its exchange with it";
    EXPECT_THAT(second, IsEmpty());
    redirect("/?code=second");
    finish();
    EXPECT_EQ(second.size(), 1u);
    EXPECT_THAT(results, IsEmpty());
}

TEST_F(GoogleSignIn, CancelLateLeavesNothing) {
    begin();
    redirect("/?code=1");
    mainQueue.runPosted();
    background.runAll(); // the tokens have come
    mainQueue.runPosted();
    background.runAll(); // and are stored
    EXPECT_EQ(stored("google_refresh_token"), "MARK-refresh");
    google.cancel();
    finish();
    EXPECT_THAT(results, ElementsAre("Login cancelled"));
    EXPECT_TRUE(secrets.values.empty()) << "the next start would find a user otherwise";
    google.cancel();
    finish();
    EXPECT_EQ(results.size(), 1u);
}

TEST_F(GoogleSignIn, OddLifetimesAndMissingRefreshTokens) {
    const std::vector<std::pair<std::string, double>> lifetimes{{R"("1800")", 3600}, {"null", 3600}, {"[5]", 3600},
                                                                {"1800.5", 1800},    {"-60", -60},   {"0", 0}};
    for (const auto& [text, seconds] : lifetimes) {
        signInWith(R"({"access_token":"a","refresh_token":"r","expires_in":)" + text + "}");
        EXPECT_EQ(stored("google_token_expiry"), inSeconds(seconds)) << text;
    }
    signInWith(R"({"access_token":"a","expires_in":1e300})");
    EXPECT_TRUE(dates::parseIso(stored("google_token_expiry"))) << stored("google_token_expiry");
    EXPECT_EQ(stored("google_refresh_token"), "(none)") << "the one that lay there is of an earlier sign-in";
    EXPECT_TRUE(logged.contains("[Fenlo] Google: WARNING — no refresh token in response"));
    EXPECT_EQ(results.back().substr(0, 3), "Ada") << "it succeeds all the same";
}

TEST_F(GoogleSignIn, HostileNamesBecomeOneLine) {
    userReply.body = R"({"email":" ada@example.org\r\n[Fenlo] forged ","name":"A\u0007d\na","picture":7})";
    signInWith(googleTokens);
    EXPECT_THAT(results, ElementsAre("Ad a <ada@example.org [Fenlo] forged> "));
    EXPECT_EQ(stored("google_user_name"), "Ad a");
}

TEST_F(GoogleSignIn, NoBrowserIsToldWithTheAddress) {
    workspace.hasBrowser = false;
    begin();
    EXPECT_EQ(offered, workspace.opened);
    EXPECT_TRUE(listener.isListening()) << "it may still be opened by hand";
}

TEST_F(GoogleSignIn, TokenIsRenewedInItsLastFiveMinutes) {
    EXPECT_FALSE(refresh()) << "nobody is signed in";
    secrets.values = {{"google_refresh_token", "MARK-refresh"}, {"google_token_expiry", "tomorrow"}};
    EXPECT_FALSE(refresh());
    EXPECT_THAT(http.requests, IsEmpty());
    secrets.values["google_token_expiry"] = inSeconds(301);
    EXPECT_TRUE(refresh());
    EXPECT_THAT(http.requests, IsEmpty());

    tokenReply.body = R"({"access_token":"newer","expires_in":7200})";
    secrets.values["google_token_expiry"] = inSeconds(299);
    EXPECT_TRUE(refresh());
    ASSERT_EQ(http.requests.size(), 1u);
    EXPECT_EQ(http.requests[0].body,
              "client_id=client-id&client_secret=client%20secret&refresh_token=MARK-refresh&grant_type=refresh_token");
    EXPECT_EQ(stored("google_access_token"), "newer");
    EXPECT_EQ(stored("google_token_expiry"), inSeconds(7200));
    EXPECT_TRUE(logged.contains("[Fenlo] Google: token refreshed"));

    tokenReply = {400, {}, R"({"error":"invalid_grant"})"}; // revoked
    secrets.values["google_token_expiry"] = inSeconds(-5);
    EXPECT_FALSE(refresh());
    secrets.values.erase("google_refresh_token");
    EXPECT_FALSE(refresh()) << "without a refresh token";
    secrets.values["google_refresh_token"] = "apple_session";
    http.requests.clear();
    EXPECT_FALSE(refresh());
    EXPECT_THAT(http.requests, IsEmpty()) << "the session of a sign-in with Apple is not Google's";
}

TEST_F(GoogleSignIn, RenewalAfterASignOutComesToNothing) {
    secrets.values = {{"google_refresh_token", "r"}, {"google_token_expiry", inSeconds(10)},
                      {"auth_provider", "apple"},    {"google_user_email", "ada@example.org"},
                      {"google_access_token", "a"},  {"groq_api_key", "k"}};
    std::vector<bool> told;
    google.refreshIfNeeded([&](bool usable) { told.push_back(usable); });
    bool isOut = false;
    http.onSend = [&](const HttpRequest&) {
        google.signOut([&] { isOut = true; });
        return HttpResponse{200, {}, googleTokens};
    };
    finish();
    EXPECT_TRUE(isOut);
    EXPECT_THAT(told, ElementsAre(false));
    EXPECT_EQ(secrets.values, (std::map<std::string, std::string>{{"groq_api_key", "k"}}));
}

} // namespace
