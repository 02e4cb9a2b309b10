#include "app/meeting/MeetingRoad.h"

#include "app/CommandServices.h"
#include "app/LocalEngine.h"
#include "app/meeting/MeetingOptions.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace fenlo {

namespace {

constexpr std::size_t requestsAtOnce = 4; // at a service
constexpr std::size_t chunksAtOnce = 8;   // on this machine: the engine lets in as many as are of use

Deployment withModel(Deployment deployment, const std::string& model) {
    if (!model.empty())
        deployment.offlineModel = model;
    return deployment;
}

} // namespace

MeetingRoad::MeetingRoad(const MeetingOptions& options, CommandServices& command)
    : m_staysHere(options.staysHere()), m_deployment(withModel(command.deployment, options.model)),
      m_config(Config::defaultFile(), command.clock),
      m_services(m_config, m_deployment, command.http, m_secrets, command.clock), m_steps(m_services.steps()),
      m_notes({m_config, m_deployment, command.http, m_services.keys}) {
    if (m_staysHere || m_config.get().offlineMode)
        loadEngine(command);
}

void MeetingRoad::loadEngine(CommandServices& command) {
    if (m_staysHere) // says what is missing, and how to fetch it
        installedModel(m_deployment.offlineModel, m_deployment, command.http, command.clock, command.stop());
    m_services.localTranscriber.setup({}, command.stop(), [&](const SetupStep& step) {
        if (step.kind == SetupStep::Kind::preparing)
            command.progress.fraction("Preparing the model",
                                      static_cast<double>(step.done) / static_cast<double>(step.total));
        else
            command.progress.bytes("Fetching the model", step.done, step.total);
    });
    command.progress.finish();
    // Without its engine, offline mode would send the meeting to a service.
    if (!m_services.localTranscriber.isReady() && !command.stop().stop_requested())
        throw std::runtime_error("the model " + m_deployment.offlineModel +
                                 " cannot be used: " + m_services.localTranscriber.setupFault());
}

std::string MeetingRoad::recognise(const TranscribeRequest& request, std::stop_token stop) {
    if (m_staysHere && !m_config.get().offlineMode)
        return m_services.transcriber.transcribeOnDevice(request, stop).value_or("");
    if (m_isRescued)
        if (auto words = rescue(request, stop))
            return *words;
    try {
        return m_steps.transcribe(request, stop);
    } catch (...) {
        if (stop.stop_requested())
            throw;
        if (auto words = rescue(request, stop)) {
            m_isRescued = true; // for the rest of the recordings too
            return *words;
        }
        throw;
    }
}

/// One at a time: the first loads the engine.
std::optional<std::string> MeetingRoad::rescue(const TranscribeRequest& request, std::stop_token stop) {
    const std::lock_guard lock(m_rescuing);
    return m_steps.rescue(request, stop);
}

bool MeetingRoad::hasNotesKey(std::stop_token stop) {
    return std::ranges::any_of(std::array{CloudService::gemini, CloudService::groq}, [&](CloudService service) {
        return m_services.keys.find(service, KeyUse::rewriting, stop).has_value();
    });
}

std::size_t MeetingRoad::sideBySide() const {
    return m_services.localTranscriber.isReady() ? chunksAtOnce : requestsAtOnce;
}

} // namespace fenlo
