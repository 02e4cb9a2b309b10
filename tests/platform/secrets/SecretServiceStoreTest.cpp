#include "platform/linux/secrets/SecretServiceStore.h"

#include "PrivateKeyring.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeSecureStore.h"

#include <chrono>
#include <cstdlib>
#include <gmock/gmock.h>
#include <memory>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::HasSubstr;

namespace {

using Status = SecureStore::Status;

PrivateKeyring& keyring() {
    static PrivateKeyring shared;
    return shared;
}

double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

struct Implementation {
    const char* name;
    std::unique_ptr<SecureStore> (*make)();
};

const Implementation implementations[] = {
    {"Fake", [] { return std::unique_ptr<SecureStore>(std::make_unique<FakeSecureStore>()); }},
    {"SecretService",
     [] {
         keyring();
         return std::unique_ptr<SecureStore>(std::make_unique<SecretServiceStore>(20));
     }},
};

/// What every store must do.
class SecureStoreContract : public ::testing::TestWithParam<Implementation> {
protected:
    const std::unique_ptr<SecureStore> store = GetParam().make();
};

INSTANTIATE_TEST_SUITE_P(Stores, SecureStoreContract, ::testing::ValuesIn(implementations),
                         [](const auto& entry) { return entry.param.name; });

class SecretServiceStoreTest : public ::testing::Test {
protected:
    PrivateKeyring& daemon = keyring();
    SecretServiceStore store{20};
    SecretServiceStore impatient{0.3};
};

} // namespace

TEST_P(SecureStoreContract, ValuesComeBackAsTheyWereSaved) {
    const std::string odd = "clé 🔑\nsecond line " + std::string(5000, 'x');
    EXPECT_EQ(store->save("groq_api_key", "first"), std::nullopt);
    EXPECT_EQ(store->save("groq_api_key", odd), std::nullopt);
    EXPECT_EQ(store->save("xai_api_key", "other"), std::nullopt);
    EXPECT_EQ(store->load("groq_api_key").status, Status::ok);
    EXPECT_EQ(store->load("groq_api_key").text, odd);
    EXPECT_EQ(store->load("xai_api_key").text, "other");

    EXPECT_EQ(store->remove("groq_api_key"), std::nullopt);
    EXPECT_EQ(store->load("groq_api_key").status, Status::notFound);
    EXPECT_EQ(store->load("xai_api_key").text, "other");
    EXPECT_EQ(store->remove("never saved"), std::nullopt);
    EXPECT_EQ(store->load("never saved").status, Status::notFound);
}

TEST_F(SecretServiceStoreTest, ManyAtOnceDisturbNobody) {
    ASSERT_EQ(store.save("google_refresh_token", "kept"), std::nullopt);
    std::vector<std::jthread> askers;
    for (int asker = 0; asker < 6; ++asker)
        askers.emplace_back([&, name = "asker_" + std::to_string(asker)] {
            for (int time = 0; time < 10; ++time) {
                EXPECT_EQ(store.load("google_refresh_token").text, "kept");
                EXPECT_EQ(store.save(name, name), std::nullopt);
            }
        });
}

TEST_F(SecretServiceStoreTest, ValuesOutliveTheStoreAndTheDaemon) {
    SecretServiceStore another{20};
    ASSERT_EQ(store.save("backend_token", "kept"), std::nullopt);
    EXPECT_EQ(another.load("backend_token").text, "kept");
    daemon.restart();
    EXPECT_EQ(store.load("backend_token").text, "kept");
    EXPECT_EQ(store.save("backend_token", "changed"), std::nullopt);
    EXPECT_EQ(another.load("backend_token").text, "changed");
}

TEST_F(SecretServiceStoreTest, AFrozenKeyringIsGivenUpInTimeAndTheValueIsKept) {
    ASSERT_EQ(store.save("auth_provider", "old"), std::nullopt);
    daemon.freeze();
    EXPECT_LT(secondsOf([&] { EXPECT_EQ(impatient.load("auth_provider").status, Status::unavailable); }), 2);
    EXPECT_LT(secondsOf([&] { EXPECT_NE(impatient.remove("auth_provider"), std::nullopt); }), 2);
    std::optional<std::string> fault;
    EXPECT_LT(secondsOf([&] { fault = impatient.save("google_user_name", "value"); }), 2);
    EXPECT_THAT(fault.value_or(""), HasSubstr("did not answer in time; the value is kept until the program ends"));
    EXPECT_EQ(impatient.load("google_user_name").text, "value");
    daemon.thaw();
}

TEST_F(SecretServiceStoreTest, ALockedItemIsUnavailableRatherThanAbsent) {
    ASSERT_EQ(store.save("gemini_api_key", "locked in"), std::nullopt);
    daemon.lock();
    EXPECT_EQ(impatient.load("gemini_api_key").status, Status::unavailable);
    EXPECT_NE(impatient.remove("gemini_api_key"), std::nullopt) << "it is still there";
    EXPECT_NE(impatient.save("gemini_api_key", "for this process"), std::nullopt);
    EXPECT_EQ(impatient.load("gemini_api_key").text, "for this process");
    daemon.restart();
    EXPECT_EQ(store.load("gemini_api_key").text, "locked in");

    EXPECT_EQ(impatient.save("gemini_api_key", "for good"), std::nullopt);
    EXPECT_EQ(store.load("gemini_api_key").text, "for good");
}

TEST_F(SecretServiceStoreTest, AKeyringThatStayedLocked_IsNotWaitedForAgainUntilTheUserActs) {
    SecretServiceStore asking{3};
    ASSERT_EQ(asking.save("deepgram_api_key", "kept"), std::nullopt);
    daemon.freeze();
    const auto load = [&] { EXPECT_EQ(asking.load("deepgram_api_key").status, Status::unavailable); };
    EXPECT_GT(secondsOf(load), 2.5);
    EXPECT_LT(secondsOf(load), 2);
    asking.askAgain();
    EXPECT_GT(secondsOf(load), 2.5);
    const auto save = [&] { EXPECT_NE(asking.save("backend_token", "new"), std::nullopt); };
    EXPECT_LT(secondsOf(save), 2);
    asking.askAgain();
    EXPECT_GT(secondsOf(save), 2.5);
    EXPECT_LT(secondsOf(save), 2) << "nor is it by one who saves many";
    daemon.thaw();
    EXPECT_EQ(asking.save("backend_token", "new"), std::nullopt) << "it is open";
    EXPECT_EQ(asking.load("deepgram_api_key").text, "kept") << "what lies open is found";

    daemon.lock();
    load();
    EXPECT_LT(secondsOf(load), 1.5) << "nobody is asked";
    daemon.restart();
    EXPECT_EQ(asking.load("deepgram_api_key").text, "kept");
}

TEST_F(SecretServiceStoreTest, ClosingEndsAWaitInProgress) {
    daemon.freeze();
    std::thread waiting([&] { EXPECT_EQ(store.load("xai_api_key").status, Status::unavailable); });
    EXPECT_LT(secondsOf([&] {
                  store.close();
                  waiting.join();
              }),
              2);
    daemon.thaw();
    EXPECT_NE(store.save("xai_api_key", "late"), std::nullopt);
}

TEST_F(SecretServiceStoreTest, WithoutASessionBusValuesLiveAsLongAsTheProcess) {
    const EnvironmentVariable noAddress("DBUS_SESSION_BUS_ADDRESS", nullptr), noRuntime("XDG_RUNTIME_DIR", nullptr);
    EXPECT_EQ(store.load("deepgram_api_key").status, Status::unavailable);
    EXPECT_EQ(store.save("deepgram_api_key", "value"),
              "there is no session bus to reach a keyring; the value is kept until the program ends");
    EXPECT_EQ(store.load("deepgram_api_key").text, "value");
    EXPECT_EQ(store.remove("deepgram_api_key"), std::nullopt);
    EXPECT_EQ(store.load("deepgram_api_key").status, Status::unavailable);
}
