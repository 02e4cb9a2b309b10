#pragma once

#include "ServiceStandIn.h"
#include "account/BackendClient.h"
#include "base/Files.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "settings/Config.h"
#include "settings/Keychain.h"
#include "shell/StatisticsStore.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>

namespace fenlo::test {

/// One machine: what its client works with.
struct Machine {
    explicit Machine(const std::string& host, HttpClient& client)
        : http(client), backend(services(), host, {"desk", "Debian 12", "1.2.3"}) {}

    BackendClient::Services services() { return {config, keychain, statistics, http, clock}; }

    const TemporaryFolder home;
    VirtualClock clock;
    Config config{home / "config.json", clock};
    FakeSecureStore store;
    Keychain keychain{store};
    StatisticsStore statistics{home / "stats.json", clock};
    HttpClient& http;
    BackendClient backend;
};

struct BackendFixture : ::testing::Test {
    using Calls = std::vector<std::string>;
    using Json = nlohmann::json;

    /// The JSON that came last.
    Json lastBody() const { return parseJson(service.requests().back().body); }

    ServiceStandIn service;
    CurlHttpClient http;
    Machine machine{service.server().url(), http};
    BackendClient& backend = machine.backend;
    LogCapture log;
};

} // namespace fenlo::test
