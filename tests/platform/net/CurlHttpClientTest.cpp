#include "platform/linux/net/CurlHttpClient.h"
#include "platform/net/FailureOf.h"
#include "support/EnvironmentVariable.h"
#include "support/LoopbackServer.h"
#include "support/WaitUntil.h"

#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;
using namespace std::string_literals;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;

namespace {

using Kind = HttpError::Kind;
using Headers = std::vector<std::pair<std::string, std::string>>;

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

WireAnswer alwaysFine(const WireRequest&, std::stop_token) {
    return httpAnswer(200, "text/plain", "fine");
}

WireAnswer never(const WireRequest&, std::stop_token stop) {
    std::promise<void> end;
    const std::stop_callback ending(stop, [&] { end.set_value(); });
    end.get_future().wait();
    return {{}, true};
}

/// Keeps what came, and answers as the test says.
class CurlHttpClientTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
            ::unsetenv(name);
    }

    HttpRequest to(const std::string& path) const {
        HttpRequest request;
        request.url = server.url() + path;
        request.timeout = 20;
        return request;
    }

    HttpResponse send(const HttpRequest& request) { return client.send(request, {}); }

    HttpError failure(const HttpRequest& request, std::stop_token stop = {}) {
        return failureOf(client, request, std::move(stop));
    }

    std::vector<WireRequest> requests() const {
        return received.with([](const auto& all) { return all; });
    }

    /// Waits until the count is reached.
    template <typename Count>
    static bool reaches(std::size_t wanted, Count count) {
        return waitUntil(10, [&] { return static_cast<std::size_t>(count()) >= wanted; }) &&
               static_cast<std::size_t>(count()) == wanted;
    }
    bool sees(std::size_t wanted) const {
        return reaches(wanted, [this] { return requests().size(); });
    }
    bool hasAnswered(std::size_t wanted) const {
        return reaches(wanted, [this] { return server.answers(); });
    }

    void answerWith(LoopbackServer::Handler handler) {
        answer.with([&](auto& current) { current = std::move(handler); });
    }

    Guarded<std::vector<WireRequest>> received;
    Guarded<LoopbackServer::Handler> answer{&alwaysFine};
    LoopbackServer server{[this](const WireRequest& request, std::stop_token stop) {
        received.with([&](auto& all) { all.push_back(request); });
        const auto handler = answer.with([](const auto& current) { return current; });
        return handler(request, stop);
    }};
    CurlHttpClient client;
};

} // namespace

TEST_F(CurlHttpClientTest, RequestsArriveAsTheyWereGiven) {
    HttpRequest request = to("/a?b=c%20d");
    request.method = "POST";
    request.headers = {{"Authorization", "Bearer k"}, {"Content-Type", "audio/wav"}, {"X-Empty", ""}};
    request.body = std::string("\0\xFF\r\n--x", 8) + std::string(2 << 20, 'z');
    send(request);
    HttpRequest bare = to("/bare");
    bare.method = "POST";
    send(bare);
    bare.method = "PUT";
    bare.body = "put";
    send(bare);
    bare.method = "DELETE";
    bare.body.clear();
    send(bare);

    const auto came = requests();
    ASSERT_EQ(came.size(), 4u);
    EXPECT_EQ(came[0].method, "POST");
    EXPECT_EQ(came[0].target, "/a?b=c%20d");
    EXPECT_EQ(came[0].header("authorization"), "Bearer k");
    EXPECT_EQ(came[0].header("content-type"), "audio/wav");
    EXPECT_EQ(came[0].header("expect"), "") << "would cost a second where the server does not answer it";
    EXPECT_EQ(came[0].body, request.body);
    EXPECT_EQ(came[1].header("content-length"), "0");
    EXPECT_EQ(came[1].header("content-type"), "");
    EXPECT_EQ(came[2].method + came[2].body, "PUTput");
    EXPECT_EQ(came[3].method, "DELETE");
}

TEST_F(CurlHttpClientTest, AnswersComeBackWhole) {
    answerWith([](const WireRequest& request, auto) -> WireAnswer {
        if (request.target == "/moved")
            return {"HTTP/1.1 307 Moved\r\nLocation: /elsewhere\r\nContent-Length: 0\r\n\r\n", false};
        return {"HTTP/1.1 103 Hints\r\nX-Early: 1\r\n\r\n"
                "HTTP/1.1 503 Busy\r\nRETRY-After:  7 \r\nTransfer-Encoding: chunked\r\n\r\n3\r\na\0b\r\n0\r\n\r\n"s,
                false};
    });
    const HttpResponse busy = send(to("/"));
    EXPECT_EQ(busy.status, 503);
    EXPECT_EQ(busy.body, std::string("a\0b", 3));
    EXPECT_THAT(busy.headers, Contains(Pair("retry-after", "7")));
    EXPECT_THAT(busy.headers, Not(Contains(Pair("x-early", "1"))));

    HttpRequest secret = to("/moved");
    secret.headers = {{"Authorization", "Bearer k"}};
    EXPECT_EQ(send(secret).status, 307);
    EXPECT_EQ(requests().size(), 2u) << "a redirect must not carry a key anywhere";
}

TEST_F(CurlHttpClientTest, FaultsAreOneLineWithoutSecrets) {
    struct Case {
        Kind kind;
        std::string message;
        std::string url;
        WireAnswer answer;
    };
    const std::string host = "127.0.0.1:" + std::to_string(server.port());
    std::string closed;
    {
        const LoopbackServer gone(&alwaysFine);
        closed = gone.url();
    }
    std::string manyHeaders = "HTTP/1.1 200 Fine\r\n";
    for (int i = 0; i < 400; ++i)
        manyHeaders += "X-" + std::to_string(i) + ": " + std::string(1000, 'h') + "\r\n";
    const std::vector<Case> cases = {
        {Kind::badUrl, "no http or https URL", "ftp://127.0.0.1/SECRET", {}},
        {Kind::badUrl, "no http or https URL", "SECRET", {}},
        {Kind::badUrl, "no http or https URL", "http://", {}},
        {Kind::connection, "could not connect to " + closed.substr(7) + ": connection refused", closed, {}},
        {Kind::connection, host + " closed the connection without an answer", "", {{}, true}},
        {Kind::connection,
         host + " closed the connection in the middle of its answer",
         "",
         {"HTTP/1.1 200 Fine\r\nContent-Length: 9\r\n\r\nhalf", true}},
        {Kind::connection, "the request to " + host + " failed", "", {"SSH-2.0-other\r\n", true}},
        {Kind::tooLarge, "the answer of " + host + " is too large", "",
         httpAnswer(200, "text/plain", std::string(999, 'x'))},
        {Kind::tooLarge, "the answer of " + host + " is too large", "", {manyHeaders + "\r\n", true}},
    };
    for (const Case& test : cases) {
        answerWith([&](auto&&...) { return test.answer; });
        HttpRequest request = to("/SECRET?key=SECRET");
        if (!test.url.empty())
            request.url = test.url;
        request.headers = {{"Authorization", "SECRET"}};
        request.maxResponseBytes = 998;
        const HttpError error = failure(request);
        EXPECT_EQ(error.kind, test.kind) << error.what();
        EXPECT_THAT(error.what(), HasSubstr(test.message));
        EXPECT_THAT(error.what(), Not(HasSubstr("SECRET")));
        EXPECT_THAT(error.what(), Not(HasSubstr("\n")));
    }
}

TEST_F(CurlHttpClientTest, HeadersThatWouldBreakTheirLineAreRefused) {
    for (const Headers& headers :
         {Headers{{"A", "b\r\nC: d"}}, Headers{{"A\n", "b"}}, Headers{{"A", std::string("b\0c", 3)}}}) {
        HttpRequest request = to("/");
        request.headers = headers;
        EXPECT_EQ(failure(request).kind, Kind::badUrl);
    }
    EXPECT_TRUE(requests().empty());
}

TEST_F(CurlHttpClientTest, AServerThatHangsRunsIntoTheTimeOut) {
    answerWith(&never);
    HttpRequest request = to("/");
    request.timeout = 0.1;
    const auto start = std::chrono::steady_clock::now();
    const HttpError error = failure(request);
    EXPECT_EQ(error.kind, Kind::timeout);
    EXPECT_THAT(error.what(), HasSubstr("no answer from 127.0.0.1"));
    EXPECT_LT(secondsSince(start), 2);
}

TEST_F(CurlHttpClientTest, StoppingEndsTheWaitAtOnce) {
    answerWith(&never);
    std::stop_source stop;
    auto waiting = std::async(std::launch::async, [&] { return failure(to("/"), stop.get_token()); });
    ASSERT_TRUE(sees(1));
    const auto start = std::chrono::steady_clock::now();
    stop.request_stop();
    EXPECT_EQ(waiting.get().kind, Kind::cancelled);
    EXPECT_LT(secondsSince(start), 0.2);

    EXPECT_EQ(failure(to("/"), stop.get_token()).kind, Kind::cancelled);
    answerWith(&alwaysFine);
    EXPECT_EQ(send(to("/next")).status, 200);
    EXPECT_EQ(requests().size(), 2u) << "a request that was stopped before must not be sent";
}

TEST_F(CurlHttpClientTest, OneConnectionServesAllRequests) {
    client.preconnect(server.url() + "/any/path?key=secret");
    ASSERT_TRUE(hasAnswered(1));
    for (int i = 0; i < 3; ++i)
        send(to("/"));
    client.preconnect(server.url());
    send(to("/"));

    const auto came = requests();
    ASSERT_EQ(came.size(), 5u) << "a connection just used needs no warming";
    EXPECT_EQ(came[0].method + came[0].target, "HEAD/");
    EXPECT_EQ(came[0].header("authorization"), "");
    EXPECT_TRUE(came[1].reused);
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(CurlHttpClientTest, AnIdleConnectionThatTheServerClosedIsReplaced) {
    answerWith([](auto&&...) {
        WireAnswer fine = httpAnswer(200, "text/plain", "fine");
        fine.closes = true;
        return fine;
    });
    HttpRequest request = to("/");
    request.method = "POST";
    request.body = "again";
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(send(request).status, 200);
    EXPECT_EQ(server.connections(), 5);
}

TEST_F(CurlHttpClientTest, AKeptConnectionThatBreaksIsReplacedOnceAndAFreshOneNever) {
    const WireAnswer fine = httpAnswer(200, "text/plain", "fine");
    const std::string cut = "HTTP/1.1 200 Fine\r\nX-Cut: 1\r\nContent-Length: 9\r\n\r\nhalf";
    const std::vector<WireAnswer> broken = {{{}, true},
                                            {"\x16\x03garbage\r\n\r\n", true},
                                            {"\x16\x03garbage\r\n\r\n"},
                                            {"HTTP/1.1 200 Fine\r\nContent-Length: many\r\n\r\n"},
                                            {"HTTP/1.1 200 Fine\r\nTransfer-Encoding: chunked\r\n\r\nno size\r\n"},
                                            {cut, true}};
    HttpRequest request = to("/");
    request.method = "POST";
    request.body = "a take";
    for (const WireAnswer& bad : broken) {
        const std::size_t before = requests().size();
        answerWith([&](const WireRequest& asked, auto) { return asked.reused ? bad : fine; });
        CurlHttpClient kept;
        EXPECT_EQ(kept.send(request, {}).body, "fine");
        const HttpResponse second = kept.send(request, {});
        EXPECT_EQ(second.body, "fine") << bad.bytes;
        EXPECT_THAT(second.headers, Not(Contains(Pair("x-cut", "1"))));
        const auto came = requests();
        ASSERT_EQ(came.size(), before + 3);
        EXPECT_EQ(came.back().body, "a take");
        EXPECT_FALSE(came.back().reused);

        answerWith([&](auto&&...) { return bad; });
        CurlHttpClient fresh;
        EXPECT_THROW(fresh.send(request, {}), HttpError) << bad.bytes;
        EXPECT_EQ(requests().size(), before + 4) << "a fresh connection's failure stands: " << bad.bytes;
    }
}

TEST_F(CurlHttpClientTest, WarmingNeverFailsAndNeverHoldsUp) {
    client.preconnect("no address");
    client.preconnect("http://127.0.0.1:1");
    answerWith(&never);
    const auto start = std::chrono::steady_clock::now();
    {
        CurlHttpClient quitting;
        quitting.preconnect(server.url());
        ASSERT_TRUE(sees(1));
        quitting.preconnect(server.url());
    }
    EXPECT_LT(secondsSince(start), 1);
    EXPECT_EQ(requests().size(), 1u) << "one is enough while it is under way";
}

TEST_F(CurlHttpClientTest, UploadsTellHowFarTheyAre) {
    HttpRequest request = to("/");
    request.method = "POST";
    request.body.assign(8 << 20, 'x');
    std::vector<std::size_t> told;
    request.onUpload = [&](std::size_t sent, std::size_t total) {
        EXPECT_EQ(total, request.body.size());
        told.push_back(sent);
        throw std::runtime_error("a listener's own fault");
    };
    EXPECT_EQ(send(request).status, 200);
    ASSERT_FALSE(told.empty());
    EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
    EXPECT_EQ(told.back(), request.body.size());
}

TEST_F(CurlHttpClientTest, ManyThreadsSendAtOnce) {
    answerWith(
        [](const WireRequest& request, auto) { return httpAnswer(200, "text/plain", request.target + request.body); });
    std::vector<std::jthread> senders;
    for (int sender = 0; sender < 8; ++sender)
        senders.emplace_back([&, sender] {
            for (int i = 0; i < 20; ++i) {
                HttpRequest request = to("/" + std::to_string(sender));
                request.method = "POST";
                request.body = std::to_string(i);
                EXPECT_EQ(send(request).body, "/" + std::to_string(sender) + std::to_string(i));
                client.preconnect(server.url());
            }
        });
    senders.clear();
    EXPECT_LE(server.connections(), 16);
}

TEST_F(CurlHttpClientTest, ProxiesComeFromTheEnvironment) {
    const EnvironmentVariable proxy("http_proxy", server.url().c_str());
    CurlHttpClient proxied;
    HttpRequest request;
    request.url = "http://fenlo.invalid/path";
    EXPECT_EQ(proxied.send(request, {}).status, 200);
    EXPECT_EQ(requests().front().target, "http://fenlo.invalid/path");
}
