#include "platform/linux/desktop/portal/PortalRequest.h"

#include "base/Guarded.h"
#include "platform/desktop/portal/FakePortal.h"
#include "platform/linux/desktop/GlibThread.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <optional>

using namespace fenlo;
using namespace fenlo::test;

namespace {

using Outcome = PortalRequest::Outcome;

/// A portal that does with each request what the test says, and somebody who asks it.
class PortalRequestTest : public ::testing::Test {
protected:
    struct Heard {
        Outcome outcome;
        std::string text; // the result named "text"
        std::string error;
    };

    PortalRequestTest() {
        thread.invoke([this] {
            std::string error;
            bus = DBusConnection::open(DBusConnection::addressOf(G_BUS_TYPE_SESSION, nullptr), nullptr, error);
        });
    }
    ~PortalRequestTest() override {
        thread.invoke([this] {
            request.reset();
            bus.reset();
        });
        wait();
    }

    void wait() {
        std::promise<void> done;
        thread.invoke([&] { done.set_value(); });
        done.get_future().get();
    }

    GVariant* answer(const FakePortal::Call& call) {
        if (call.method == "Close") {
            closed = true;
            return g_variant_new("()");
        }
        handle = call.handle;
        return call.interface == "org.example.Absent" ? nullptr : onCall(call);
    }

    void ask(double limit = 30, const char* interface = "org.example.Present") {
        thread.invoke([this, limit, interface] {
            request.emplace(*bus,
                            PortalRequest::Call{interface,
                                                "Ask",
                                                {g_variant_new_string("first")},
                                                {{"colour", g_variant_new_string("red")}},
                                                limit},
                            [this](PortalRequest::Answer given) {
                                const std::string text = portal::textIn(given.results.get(), "text");
                                request.reset(); // allowed here
                                heard.with([&](auto& all) { all.push_back({given.outcome, text, given.error}); });
                            });
        });
    }

    /// Whether the portal has the question; its answer is still to come.
    bool askAndBeAccepted() {
        onCall = [this](const FakePortal::Call& call) {
            accepted = true;
            return FakePortal::accepts(call);
        };
        ask();
        return eventually([this] { return accepted.load(); });
    }

    Heard waitForAnswer() {
        EXPECT_TRUE(eventually([this] { return heard.with([](auto& all) { return !all.empty(); }); }));
        return heard.with([](auto& all) { return all.empty() ? Heard{} : all.front(); });
    }

    std::function<GVariant*(const FakePortal::Call&)> onCall = FakePortal::accepts;
    std::atomic<bool> accepted = false;
    std::atomic<bool> closed = false;
    std::string handle;
    Guarded<std::vector<Heard>> heard;
    FakePortal fake{[this](const FakePortal::Call& call) { return answer(call); }};
    std::optional<DBusConnection> bus; // the next thread's, like the request
    std::optional<PortalRequest> request;
    GlibThread thread;
};

TEST_F(PortalRequestTest, AnswersBeforeAndAfterTheReturnAreHeardOnce) {
    onCall = [this](const FakePortal::Call& call) {
        EXPECT_EQ(std::string(g_variant_get_type_string(call.arguments.get())), "(sa{sv})");
        EXPECT_STREQ(g_variant_get_string(call.option("colour").get(), nullptr), "red");
        fake.respond(call.handle, 0, g_variant_new_parsed("{'text': <'early'>}"));
        return FakePortal::accepts(call);
    };
    ask();
    EXPECT_EQ(waitForAnswer().text, "early");
    heard.with([](auto& all) { all.clear(); });

    ASSERT_TRUE(askAndBeAccepted());
    fake.respond(handle, 0, g_variant_new_parsed("{'text': <objectpath '/late'>}"));
    EXPECT_EQ(waitForAnswer().text, "/late");
    fake.respond(handle, 0, g_variant_new_parsed("{'text': <'again'>}"));
    wait();
    EXPECT_EQ(heard.with([](auto& all) { return all.size(); }), 1U);
    EXPECT_FALSE(closed);
}

TEST_F(PortalRequestTest, AnOldPortalChoosesThePlaceOfTheRequest) {
    constexpr char chosen[] = "/org/freedesktop/portal/desktop/request/7";
    onCall = [&](const FakePortal::Call&) { return g_variant_new("(o)", chosen); };
    ask();
    ASSERT_TRUE(eventually([&] {
        fake.respond(chosen, 0, g_variant_new_parsed("{'text': <'elsewhere'>}"));
        return heard.with([](auto& all) { return !all.empty(); });
    }));
    EXPECT_EQ(waitForAnswer().text, "elsewhere");
}

TEST_F(PortalRequestTest, EachRefusalHasItsOutcome) {
    struct Case {
        unsigned code;
        Outcome outcome;
    };
    for (const Case& each : {Case{1, Outcome::denied}, Case{2, Outcome::failed}, Case{77, Outcome::failed}}) {
        onCall = [&](const FakePortal::Call& call) {
            fake.respond(call.handle, each.code);
            return FakePortal::accepts(call);
        };
        ask();
        const Heard answer = waitForAnswer();
        EXPECT_EQ(answer.outcome, each.outcome);
        EXPECT_FALSE(answer.error.empty());
        heard.with([](auto& all) { all.clear(); });
    }
    ask(30, "org.example.Absent");
    EXPECT_EQ(waitForAnswer().outcome, Outcome::absent);
}

TEST_F(PortalRequestTest, AnAnswerOfAnotherShapeFails) {
    onCall = [&](const FakePortal::Call& call) {
        fake.emit(call.handle, "org.freedesktop.portal.Request", "Response", g_variant_new("(s)", "yes"));
        return FakePortal::accepts(call);
    };
    ask();
    EXPECT_EQ(waitForAnswer().outcome, Outcome::failed);
}

TEST_F(PortalRequestTest, ASilentPortalIsGivenUpAndTheDialogWithdrawn) {
    ask(0.05);
    EXPECT_EQ(waitForAnswer().outcome, Outcome::silent);
    EXPECT_TRUE(eventually([this] { return closed.load(); }));
}

TEST_F(PortalRequestTest, APortalThatEndsFailsWhatItWasAsked) {
    ASSERT_TRUE(askAndBeAccepted());
    fake.leave();
    EXPECT_EQ(waitForAnswer().outcome, Outcome::failed);
    heard.with([](auto& all) { all.clear(); });
    ask();
    EXPECT_EQ(waitForAnswer().outcome, Outcome::absent);
}

TEST_F(PortalRequestTest, ADestroyedRequestIsWithdrawnAndSaysNothing) {
    ASSERT_TRUE(askAndBeAccepted());
    thread.invoke([this] { request.reset(); });
    EXPECT_TRUE(eventually([this] { return closed.load(); }));
    fake.respond(handle, 0);
    wait();
    EXPECT_TRUE(heard.with([](auto& all) { return all.empty(); }));
}

} // namespace
