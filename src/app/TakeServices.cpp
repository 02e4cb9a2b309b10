#include "app/TakeServices.h"

#include "app/Installation.h"
#include "app/LocalEngine.h"
#include "audio/voice/VoiceProfile.h"
#include "base/Clock.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "text/VoiceCommands.h"
#include "text/professions/Professions.h"

namespace fenlo {

namespace {

std::vector<std::string> professionTerms(const std::string& profession) {
    const auto terms = profile(profession).vocabulary;
    return {terms.begin(), terms.end()};
}

RemoteConfiguration remoteConfiguration(const BackendClient& backend, ConfigurationKeeper& keeper) {
    if (!backend.hasService())
        return {};
    return {[&](std::stop_token stop) { return keeper.fetch(stop); }, [&] { return keeper.atHand(); },
            [&] { return keeper.hasFailed(); }};
}

} // namespace

TakeServices::TakeServices(Config& settings, const Deployment& deployment, HttpClient& http, SecureStore& secrets,
                           Clock& clock)
    : config(settings), keptTakes(settings, KeptTakes::defaultFolder(), clock), keychain(secrets),
      statistics(StatisticsStore::defaultFile(), clock),
      backend({config, keychain, statistics, http, clock}, deployment.serviceHost, thisInstallation()),
      configuration(backend, clock, m_beside),
      keys(keychain, remoteConfiguration(backend, configuration), deployment.xaiApiKey, keyringUse),
      localTranscriber(deployment.offlineModel, modelsDirectory(), localEngineMaker(deployment, http, clock), clock),
      transcriber(config, deployment, http, keys, localTranscriber, professionTerms, clock),
      smartRewrite(config, deployment, http, keys, clock),
      aiCommands(
          smartRewrite,
          [this](const std::string& query, std::size_t limit) { return statistics.recallContext(query, limit); },
          clock),
      voiceIsolation(config, voiceProfileFile()), snippets(Snippets::defaultFile()), m_deployment(deployment) {}

TakeSteps TakeServices::steps() {
    return {
        .isolateVoice = [this](const std::filesystem::path& chunk) { return voiceIsolation.isolateVoice(chunk); },
        .transcribe = [this](const TranscribeRequest& request,
                             std::stop_token stop) { return transcriber.transcribe(request, stop); },
        .rescue =
            [this](const TranscribeRequest& request, std::stop_token stop) {
                // Loading takes seconds, a download minutes: only a model that is here is worth the wait.
                if (!localTranscriber.isReady() && findInstalledModel(m_deployment.offlineModel))
                    localTranscriber.setup({}, stop);
                return transcriber.transcribeOnDevice(request, stop);
            },
        .lastMeta = [this] { return transcriber.lastMeta(); },
        .runAICommand = [this](const std::string& instruction, const FocusContext& context,
                               std::stop_token stop) { return aiCommands.runAICommand(instruction, context, stop); },
        .matchSnippet = [this](const std::string& text) { return snippets.matchSnippet(text); },
        .processVoiceCommands =
            [this](const std::string& text, const std::string& appBundleId) {
                return processVoiceCommands(text, appBundleId, config.get());
            },
        .rewrite =
            [this](const std::string& text, const FocusContext& context, const std::string& language,
                   const std::vector<std::string>& uncertainParts, std::stop_token stop) {
                return smartRewrite.rewrite(text, context, language, uncertainParts, stop);
            },
        .recordTranscription = [this](const std::string& text) { transcriber.recordTranscription(text); },
    };
}

EarlySteps TakeServices::earlySteps(std::function<bool()> mayWork) {
    return {
        .reach = [this] { return transcriber.earlyReach(); },
        .mayWork = std::move(mayWork),
        .begin = [this] { transcriber.beginTake(); },
        .finish = [this] { transcriber.endTake(); },
        .forget = [this] { transcriber.forgetTake(); },
        .recognise =
            [this](std::span<const float> samples, LocalTranscriber::Extent extent, const TranscribeRequest& about,
                   const std::stop_source& stop) { return transcriber.recogniseAhead(samples, extent, about, stop); },
        .recogniseChunk = [this](const TranscribeRequest& chunk,
                                 const std::stop_source& stop) { return transcriber.recogniseAhead(chunk, stop); },
    };
}

void TakeServices::warmConnections() {
    transcriber.warmConnection();
    smartRewrite.warmConnection();
}

} // namespace fenlo
