#pragma once

#include "app/TakeServices.h"
#include "app/meeting/HeardMeeting.h"
#include "meeting/MeetingNotesWriter.h"
#include "platform/linux/secrets/SecretServiceStore.h"

#include <atomic>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>

namespace fenlo {

struct CommandServices;
struct MeetingOptions;

/// Who recognises the chunks of recordings and who writes the notes, by the settings and the options.
///
/// Threads: recognise() on any.
/// Errors:  the constructor throws std::runtime_error with the remedy when speech is to stay on this machine and its
///          engine cannot be loaded.
class MeetingRoad {
public:
    MeetingRoad(const MeetingOptions& options, CommandServices& command);

    /// Throws what the recogniser throws, when no other can take over.
    std::string recognise(const TranscribeRequest& request, std::stop_token stop);
    /// Several chunks: a service takes them at once, and windows of the engine share its steps.
    std::size_t sideBySide() const;

    /// Whether there is a key for a language model that writes notes.
    bool hasNotesKey(std::stop_token stop);
    MeetingNotesWriter& notes() { return m_notes; }

private:
    void loadEngine(CommandServices& command);
    std::optional<std::string> rescue(const TranscribeRequest& request, std::stop_token stop);

    const bool m_staysHere;
    const Deployment m_deployment; // with the model that the options name
    Config m_config;
    SecretServiceStore m_secrets;
    TakeServices m_services;
    const TakeSteps m_steps;
    MeetingNotesWriter m_notes;
    std::mutex m_rescuing;
    std::atomic<bool> m_isRescued = false; // the service has failed, and the engine on this machine has not
};

} // namespace fenlo
