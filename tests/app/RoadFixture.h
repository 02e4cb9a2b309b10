#pragma once

#include "app/TakeRoad.h"

#include <gtest/gtest.h>
#include <map>

namespace fenlo::test {

/// The facts of a take's road, with the keys that a test puts somewhere.
struct RoadFixture : ::testing::Test {
    std::map<CloudService, KeyPlace> keys;
    RoadFacts facts{{}, "", false, [this](const ServiceKey& key) {
                        const auto found = keys.find(key.service);
                        return found == keys.end() ? KeyPlace::nowhere : found->second;
                    }};
};

} // namespace fenlo::test
