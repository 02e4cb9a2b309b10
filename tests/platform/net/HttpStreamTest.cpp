// Bodies that are taken as they come: what every client keeps, and what only a real network can break.

#include "platform/linux/net/CurlHttpClient.h"
#include "platform/net/FailureOf.h"
#include "support/FakeHttpClient.h"
#include "support/LoopbackServer.h"

#include <atomic>
#include <future>
#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Pair;

namespace {

using Kind = HttpError::Kind;

std::string pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 2654435761u) >> 13u);
    return bytes;
}

const std::string whole = pattern(5u << 20u);

/// The real client against a server, and the fake: both answer with `whole`.
struct CurlWorld {
    LoopbackServer server{[](const WireRequest&, std::stop_token) { return httpAnswer(200, "x/y", whole); }};
    CurlHttpClient client;
    std::string url = server.url() + "/";
};

struct FakeWorld {
    FakeHttpClient client;
    std::string url = "http://fenlo.example/";
    FakeWorld() {
        client.onSend = [](const HttpRequest&) { return HttpResponse{200, {{"content-type", "x/y"}}, whole}; };
    }
};

template <typename World>
class HttpStreamContract : public ::testing::Test, protected World {};
using Worlds = ::testing::Types<CurlWorld, FakeWorld>;
TYPED_TEST_SUITE(HttpStreamContract, Worlds);

} // namespace

TYPED_TEST(HttpStreamContract, TheHeadComesOnceAndBeforeTheBytesWhichComeInOrderOnTheSendersThread) {
    HttpRequest request;
    request.url = this->url;
    request.maxResponseBytes = 10;
    int heads = 0;
    std::string came;
    const auto here = std::this_thread::get_id();
    request.onHead = [&](const HttpResponse& head) {
        ++heads;
        EXPECT_TRUE(came.empty());
        EXPECT_EQ(head.status, 200);
        EXPECT_THAT(head.headers, Contains(Pair("content-type", "x/y")));
        EXPECT_EQ(std::this_thread::get_id(), here);
        return true;
    };
    request.onBody = [&](std::string_view bytes) {
        EXPECT_EQ(std::this_thread::get_id(), here);
        EXPECT_FALSE(bytes.empty());
        came += bytes;
    };
    const HttpResponse response = this->client.send(request, {});
    EXPECT_EQ(heads, 1);
    EXPECT_TRUE(came == whole);
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "");
}

TYPED_TEST(HttpStreamContract, ABodyThatTheHeadRefuses_IsGathered) {
    HttpRequest request;
    request.url = this->url;
    request.onHead = [](const HttpResponse&) { return false; };
    request.onBody = [](std::string_view) { ADD_FAILURE(); };
    EXPECT_TRUE(this->client.send(request, {}).body == whole);
}

TYPED_TEST(HttpStreamContract, WhatTheCallbacksThrowLeavesSend) {
    struct DiskFull {};
    HttpRequest request;
    request.url = this->url;
    request.onBody = [](std::string_view) { throw DiskFull(); };
    EXPECT_THROW(this->client.send(request, {}), DiskFull);
    request.onHead = [](const HttpResponse&) -> bool { throw DiskFull(); };
    request.onBody = [](std::string_view) { ADD_FAILURE(); };
    EXPECT_THROW(this->client.send(request, {}), DiskFull);
    request.onHead = {};
    std::size_t came = 0;
    request.onBody = [&](std::string_view bytes) { came += bytes.size(); };
    this->client.send(request, {});
    EXPECT_EQ(came, whole.size()) << "the client goes on";
}

namespace {

class CurlStreamTest : public ::testing::Test {
protected:
    static WireAnswer headOf(std::size_t length) {
        return {"HTTP/1.1 200 Fine\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n"};
    }

    HttpError failure(std::stop_token stop = {}) { return failureOf(client, request, std::move(stop)); }

    void serve(LoopbackServer::Handler handler) {
        server = std::make_unique<LoopbackServer>(std::move(handler));
        request.url = server->url();
        request.onBody = [this](std::string_view bytes) { came += bytes; };
    }

    std::unique_ptr<LoopbackServer> server;
    HttpRequest request;
    std::string came;
    CurlHttpClient client;
};

} // namespace

TEST_F(CurlStreamTest, AnEmptyBodyHasAHeadToo) {
    serve([](auto&&...) { return headOf(0); });
    int heads = 0;
    request.onHead = [&](const HttpResponse& head) { return ++heads == 1 && head.status == 200; };
    EXPECT_EQ(client.send(request, {}).status, 200);
    EXPECT_EQ(heads, 1);
}

TEST_F(CurlStreamTest, WhatCameBeforeABreakIsGiven) {
    serve([](auto&&...) {
        WireAnswer answer = headOf(whole.size());
        answer.bytes += whole.substr(0, 3'000'000);
        answer.closes = true;
        return answer;
    });
    const HttpError error = failure();
    EXPECT_EQ(error.kind, Kind::connection);
    EXPECT_THAT(error.what(), HasSubstr("in the middle"));
    EXPECT_TRUE(came == whole.substr(0, 3'000'000));
}

TEST_F(CurlStreamTest, AGatheredBodyKeepsItsLimit) {
    serve([](auto&&...) { return httpAnswer(500, "text/plain", whole); });
    request.maxResponseBytes = whole.size() - 1;
    request.onHead = [](const HttpResponse&) { return false; };
    EXPECT_EQ(failure().kind, Kind::tooLarge);
}

TEST_F(CurlStreamTest, SilenceIsAFault_SlownessIsNot) {
    std::atomic<int> pieces = 0;
    const auto tick = [&](std::stop_token stop) -> std::string {
        std::promise<void> end;
        const std::stop_callback ending(stop, [&] { end.set_value(); });
        // Nine pieces, each well within the limit; then silence.
        end.get_future().wait_for(pieces < 9 ? std::chrono::milliseconds(100) : std::chrono::hours(1));
        return ++pieces <= 9 ? "x" : "";
    };
    serve([&](auto&&...) {
        WireAnswer answer = headOf(10);
        answer.more = tick;
        return answer;
    });
    request.timeout = 0;
    request.idleLimit = 0.7;
    const HttpError error = failure();
    EXPECT_EQ(error.kind, Kind::timeout);
    EXPECT_THAT(error.what(), HasSubstr("sent nothing for 0.7s"));
    EXPECT_EQ(came, "xxxxxxxxx");
    server.reset();
}

TEST_F(CurlStreamTest, ATrickleIsAFaultWhenARateIsRequired) {
    serve([](auto&&...) {
        WireAnswer answer = headOf(1u << 30u);
        answer.more = [](std::stop_token stop) {
            std::promise<void> end;
            const std::stop_callback ending(stop, [&] { end.set_value(); });
            end.get_future().wait_for(std::chrono::milliseconds(10));
            return std::string("x");
        };
        return answer;
    });
    request.timeout = 0;
    request.idleLimit = 0.3;
    request.leastRate = 10'000;
    const HttpError error = failure();
    EXPECT_EQ(error.kind, Kind::timeout);
    EXPECT_THAT(error.what(), HasSubstr("sent less than 10.0 KB/s for 0.3s"));
    server.reset();
}

TEST_F(CurlStreamTest, AStreamThatWaitsForItsSenderHoldsUpNoOther) {
    serve([](const WireRequest& asked, std::stop_token) {
        return httpAnswer(200, "x/y", asked.target == "/quick" ? "quick" : whole);
    });
    request.idleLimit = 0.7; // must not count the sender's own slowness
    bool held = false;
    request.onBody = [&](std::string_view bytes) {
        if (!std::exchange(held, true)) {
            // Meanwhile the stream's buffer is full for longer than the idle limit.
            HttpRequest other;
            other.url = server->url() + "/quick";
            for (const auto start = std::chrono::steady_clock::now();
                 std::chrono::steady_clock::now() - start < std::chrono::milliseconds(900);)
                EXPECT_EQ(client.send(other, {}).body, "quick");
        }
        came += bytes;
    };
    client.send(request, {});
    EXPECT_TRUE(came == whole);
}

TEST_F(CurlStreamTest, StoppingEndsAStreamAtOnce) {
    serve([](auto&&...) {
        WireAnswer answer = headOf(1u << 30u);
        answer.more = [](std::stop_token) { return std::string(1000, 'x'); };
        return answer;
    });
    std::stop_source stop;
    request.onBody = [&](std::string_view bytes) {
        came += bytes;
        if (came.size() > 100'000)
            stop.request_stop();
    };
    EXPECT_EQ(failure(stop.get_token()).kind, Kind::cancelled);
    EXPECT_LT(came.size(), 10'000'000u);
}
