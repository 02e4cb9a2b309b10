#include "platform/linux/wayland/keys/KeyStream.h"

#include "platform/wayland/keys/PipeKeyboard.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;

namespace {

class KeyStreamTest : public ::testing::Test {
protected:
    using Change = std::pair<std::uint16_t, bool>;

    void take(const std::string& bytes) { stream.take(std::as_bytes(std::span(bytes))); }
    static std::string key(std::uint16_t code, std::int32_t value) { return bytesOf(EV_KEY, code, value) + report(); }
    static std::string report() { return bytesOf(EV_SYN, SYN_REPORT, 0); }
    static std::string dropped() { return bytesOf(EV_SYN, SYN_DROPPED, 0); }

    KeyBits kernelHolds; // what it answers when it is asked
    int questions = 0;
    std::vector<Change> changes;
    KeyStream stream{{.onChange = [this](std::uint16_t code, bool isDown) { changes.emplace_back(code, isDown); },
                      .heldNow =
                          [this] {
                              ++questions;
                              return kernelHolds;
                          }}};
};

} // namespace

TEST_F(KeyStreamTest, PressesAndReleasesOfPlacesAreTold_RepeatsAreNot) {
    take(bytesOf(EV_MSC, MSC_SCAN, 0x700e0) + key(KEY_LEFTCTRL, 1));
    for (int i = 0; i < 5; ++i)
        take(key(KEY_LEFTCTRL, 2));
    take(key(KEY_SPACE, 1) + key(KEY_SPACE, 0) + bytesOf(EV_REL, REL_X, 5) + bytesOf(EV_LED, LED_CAPSL, 1) + report());
    take(key(KEY_RIGHTCTRL, 1) + key(KEY_LEFTCTRL, 0) + key(KEY_RIGHTCTRL, 0));
    EXPECT_THAT(changes,
                ElementsAre(Change(KEY_LEFTCTRL, true), Change(KEY_SPACE, true), Change(KEY_SPACE, false),
                            Change(KEY_RIGHTCTRL, true), Change(KEY_LEFTCTRL, false), Change(KEY_RIGHTCTRL, false)));
    EXPECT_EQ(questions, 0);
}

TEST_F(KeyStreamTest, EventsMayComeInAnyPieces) {
    const std::string all = key(KEY_A, 1) + key(KEY_A, 0) + key(KEY_B, 1);
    for (std::size_t size = 1; size < 60; size += 7) {
        changes.clear();
        for (std::size_t at = 0; at < all.size(); at += size)
            take(all.substr(at, size));
        EXPECT_THAT(changes, ElementsAre(Change(KEY_A, true), Change(KEY_A, false), Change(KEY_B, true))) << size;
        take(key(KEY_B, 0));
    }
}

TEST_F(KeyStreamTest, LostEventsAreMendedFromTheDevicesState) {
    take(key(KEY_LEFTCTRL, 1) + key(KEY_A, 1));
    kernelHolds = bitsOf({KEY_LEFTCTRL, KEY_B});
    // What stands between the loss and the next report is incomplete.
    take(dropped() + bytesOf(EV_KEY, KEY_LEFTCTRL, 0) + bytesOf(EV_KEY, KEY_Z, 1));
    EXPECT_EQ(questions, 0);
    take(report());
    EXPECT_EQ(questions, 1);
    EXPECT_THAT(changes, ElementsAre(Change(KEY_LEFTCTRL, true), Change(KEY_A, true), Change(KEY_A, false),
                                     Change(KEY_B, true)));
    changes.clear();
    take(key(KEY_LEFTCTRL, 0));
    stream.releaseAll();
    EXPECT_THAT(changes, ElementsAre(Change(KEY_LEFTCTRL, false), Change(KEY_B, false)));
}

TEST_F(KeyStreamTest, WhatNoKeyDoesCountsForNothing) {
    take(key(KEY_A, 0) + bytesOf(EV_KEY, 0xFFFF, 1) + bytesOf(EV_KEY, KEY_CNT, 1) + key(KEY_A, -7) + key(KEY_A, 3));
    EXPECT_TRUE(changes.empty());
    stream.adopt(bitsOf({KEY_LEFTCTRL}));
    take(key(KEY_LEFTCTRL, 1) + key(KEY_LEFTCTRL, 0));
    EXPECT_THAT(changes, ElementsAre(Change(KEY_LEFTCTRL, false)));
}
