#include "app/Meetings.h"

#include "app/Account.h"
#include "app/TakeServices.h"
#include "settings/Config.h"
#include "shell/home/OfflineModels.h"

namespace fenlo {

namespace {

/// While the engine is being loaded chunks wait. Where it cannot be had, they are tried, so that the user is told.
std::string recogniserDelay(const TakeServices& services) {
    const LocalTranscriber& engine = services.localTranscriber;
    if (!services.config.get().offlineMode || engine.isReady() ||
        (!engine.isSettingUp() && !engine.setupFault().empty()))
        return {};
    const std::string fetched = fetchedText(engine.setupStep());
    return "The recogniser is being prepared" + (fetched.empty() ? "" : ", " + fetched + " fetched") +
           "; the words come when it is ready.";
}

/// In offline mode nothing of a meeting goes to a service, not even where the engine cannot be had. Throws then.
std::string transcribe(TakeServices& services, const TranscribeRequest& request, std::stop_token stop) {
    if (services.config.get().offlineMode && !services.localTranscriber.isReady())
        throw LocalTranscriberError(LocalTranscriberError::Kind::notReady, "the engine on this machine is not ready: " +
                                                                               services.localTranscriber.setupFault());
    return services.transcriber.transcribe(request, stop);
}

MeetingModeController::Services controllerServices(const Meetings::Surroundings& around, Meetings& meetings) {
    return {.config = around.services.config,
            .clock = around.clock,
            .mainQueue = around.mainQueue,
            .background = around.background,
            .systemAudio = meetings.systemAudio,
            .archive = meetings.archive,
            .notesWriter = meetings.writer,
            .delivery = meetings.delivery,
            .transcribe = [&services =
                               around.services](const TranscribeRequest& request,
                                                std::stop_token stop) { return transcribe(services, request, stop); },
            .recogniserDelay = [&services = around.services] { return recogniserDelay(services); },
            .recordMeeting =
                [&statistics = around.services.statistics, &notifications = around.notifications](
                    const std::string& transcript, std::int64_t segments, double duration) {
                    statistics.recordMeeting(transcript, segments, duration);
                    notifications.post(notification::statisticsChanged);
                },
            .syncStats = [&statistics = around.account.statistics] { statistics.ask(); }};
}

} // namespace

Meetings::Meetings(const Surroundings& around)
    : sounds(around.audioOutput, around.clock), systemAudio(computer, sounds),
      writer({around.services.config, around.deployment, around.http, around.services.keys}),
      delivery({.keychain = around.services.keychain,
                .writer = writer,
                .clock = around.clock,
                .serviceMail = serviceMail(around.services.backend),
                .mailProgram = &mailProgram}),
      controller(controllerServices(around, *this)),
      // Within the minute the mail would go to whoever signs in next, or open the mail program by itself.
      m_signedOut(around.notifications.observe(notification::userDidSignOut, [this](const auto&) {
          if (controller.autoSendCountdown() > 0)
              controller.cancelAutoSend();
      })) {}

} // namespace fenlo
