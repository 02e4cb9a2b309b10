#include "settings/Deployment.h"
#include "base/Files.h"
#include "settings/Keychain.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"

#include <cstdlib>
#include <gtest/gtest.h>

using namespace fenlo;

TEST(Deployment, AFileOverridesKeyByKeyAndABadOneIsLeftOut) {
    const auto builtIn = Deployment::load();
    EXPECT_TRUE(builtIn.groqHost.starts_with("https://"));

    const auto file = files::temporaryFile("deployment", ".json");
    ASSERT_TRUE(files::writeAtomically(file, R"({"groq_host": "http://127.0.0.1:9", "support_address": 5,
                                              "model_repository": "maker/models"})"));
    const test::EnvironmentVariable overriding("FENLO_DEPLOYMENT", file.c_str());
    EXPECT_EQ(Deployment::load().groqHost, "http://127.0.0.1:9");
    EXPECT_EQ(Deployment::load().supportAddress, builtIn.supportAddress);
    EXPECT_EQ(builtIn.modelRepository, "");
    EXPECT_EQ(Deployment::load().modelRepository, "maker/models");

    ASSERT_TRUE(files::writeAtomically(file, "nonsense"));
    const test::LogCapture logged;
    EXPECT_EQ(Deployment::load().groqHost, builtIn.groqHost);
    EXPECT_TRUE(logged.containsPrefix("[Fenlo] ERROR: FENLO_DEPLOYMENT names " + file.string()));
}

TEST(Deployment, WhatLacksAValueIsNotOffered) {
    Deployment whole = Deployment::load();
    EXPECT_FALSE(whole.offersSignIn() || whole.offersUpdates()) << "the built-in values name no service";
    whole.serviceHost = "https://service.example";
    EXPECT_FALSE(whole.offersGoogle());
    EXPECT_TRUE(whole.offersApple() && whole.offersSignIn());
    whole.googleClientId = "id";
    EXPECT_TRUE(whole.offersGoogle());

    for (std::string Deployment::*value :
         {&Deployment::serviceHost, &Deployment::googleClientId, &Deployment::googleAuthUri,
          &Deployment::googleTokenUri, &Deployment::googleUserInfoUri}) {
        Deployment lacking = whole;
        (lacking.*value).clear();
        EXPECT_FALSE(lacking.offersGoogle());
    }
    for (std::string Deployment::*value :
         {&Deployment::serviceHost, &Deployment::appleServicesId, &Deployment::appleAuthUri}) {
        Deployment lacking = whole;
        (lacking.*value).clear();
        EXPECT_FALSE(lacking.offersApple());
    }
}

TEST(Keychain, KeepsValuesByNameAndLogsARefusalWithoutTheSecret) {
    test::FakeSecureStore store;
    Keychain keychain(store);
    keychain.save("groq_api_key", "gsk-secret");
    EXPECT_EQ(keychain.load("groq_api_key"), "gsk-secret");
    EXPECT_FALSE(keychain.load("xai_api_key").has_value());
    store.values["groq_api_key"] = "\xFF\xFE";
    EXPECT_FALSE(keychain.load("groq_api_key").has_value()) << "no UTF-8";

    store.isAvailable = false;
    const test::LogCapture logged;
    keychain.save("groq_api_key", "gsk-secret");
    EXPECT_TRUE(logged.contains("[Fenlo] ERROR: Keychain save failed for 'groq_api_key': the store is not available"));
    for (const auto& line : logged.lines())
        EXPECT_EQ(line.find("gsk-secret"), std::string::npos);
}
