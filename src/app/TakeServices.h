#pragma once

#include "account/BackendClient.h"
#include "account/ConfigurationKeeper.h"
#include "audio/voice/VoiceIsolation.h"
#include "base/Background.h"
#include "session/EarlyRecognition.h"
#include "session/KeptTakes.h"
#include "session/TakePipeline.h"
#include "settings/Keychain.h"
#include "settings/ServiceKeys.h"
#include "shell/StatisticsStore.h"
#include "speech/LocalTranscriber.h"
#include "speech/Transcriber.h"
#include "text/AICommands.h"
#include "text/SmartRewrite.h"
#include "text/Snippets.h"

namespace fenlo {

class Clock;
class Config;
class HttpClient;
class SecureStore;
struct Deployment;

/// A key that the user keeps in the keyring counts for all that its service does.
constexpr KeyringUse keyringUse = KeyringUse::forEveryUse;

/// The services that a take passes through on its way from sound to text, and the client of the deployment's own
/// service, which may have their keys: one object of each, for the desktop program and for the command line alike. What
/// is passed in outlives them.
struct TakeServices {
    TakeServices(Config& settings, const Deployment& deployment, HttpClient& http, SecureStore& secrets, Clock& clock);
    TakeServices(const TakeServices&) = delete;
    TakeServices& operator=(const TakeServices&) = delete;

    TakeSteps steps();
    /// How a take is recognised ahead. For `mayWork` see EarlySteps.
    EarlySteps earlySteps(std::function<bool()> mayWork);
    /// Opens the connections that the take will need, while the user still speaks.
    void warmConnections();

    Config& config;
    KeptTakes keptTakes;
    Keychain keychain;
    StatisticsStore statistics;
    BackendClient backend;
    ConfigurationKeeper configuration;
    ServiceKeys keys;
    LocalTranscriber localTranscriber;
    Transcriber transcriber;
    SmartRewrite smartRewrite;
    AICommands aiCommands;
    VoiceIsolation voiceIsolation;
    Snippets snippets;

private:
    const Deployment& m_deployment;
    ThreadBackground m_beside; // last: its tasks use the rest
};

} // namespace fenlo
