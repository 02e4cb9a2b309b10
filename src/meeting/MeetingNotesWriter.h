#pragma once

#include "meeting/MeetingNotes.h"
#include "settings/ServiceKeys.h"
#include "text/LanguageModelCalls.h"

#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>

namespace fenlo {

class Config;
class HttpClient;
struct Deployment;

/// Whether the language models of the services may see a meeting while the user has chosen offline mode.
enum class OfflineNotes {
    byServices, // offline mode is about speech only
    none,       // nothing of a meeting leaves this machine
};

/// What in the settings keeps notes from being made.
enum class NotesHindrance { none, noKey, offlineMode };

/// A call that brought no text. what() is a part of a sentence, free of secrets: "Gemini refused the key (401)".
struct MeetingModelError : std::runtime_error {
    MeetingModelError(std::string_view errorDomain, int errorCode, const std::string& message)
        : std::runtime_error(message), domain(errorDomain), code(errorCode) {}
    std::string_view domain; // "MeetingGemini" or "MeetingSummary"
    int code;                // the status of the reply; -1 for a reply without an answer, 0 when there was none
};

/// Has language models write the notes of meetings: Gemini first, then Groq, each where there is a key for it.
///
/// Threads: workers; every operation blocks, at most for half a minute a service.
/// Errors:  none thrown. Without notes, the result says why in one sentence for the screen; a stop leaves that empty
/// too.
class MeetingNotesWriter {
public:
    /// What is passed in outlives the writer.
    struct Services {
        Config& config;
        const Deployment& deployment;
        HttpClient& http;
        ServiceKeys& keys;
    };

    struct Meeting {
        std::string transcript;
        std::string userNotes; // typed meanwhile
        MeetingTemplate kind = MeetingTemplate::general;
        std::string subject; // the title, where the model writes none
    };

    struct Result {
        std::optional<EnhancedMeetingNotes> notes = {};
        std::string fault = {}; // why there are none
        NotesHindrance hindrance = NotesHindrance::none;
    };

    explicit MeetingNotesWriter(Services services, OfflineNotes offline = OfflineNotes::none)
        : m_services(services), m_offline(offline) {}

    /// The notes of a meeting that has just ended.
    Result summarize(const Meeting& meeting, std::stop_token stop);

    /// The notes of a meeting of the archive, from its whole file.
    Result summarizePast(const std::string& content, std::optional<MeetingTemplate> kind, const std::string& subject,
                         std::stop_token stop);

    struct Refinement {
        EnhancedMeetingNotes notes;
        std::string instruction;
        std::string transcript;
        std::string subject; // as above
    };

    /// The notes changed as the user says.
    Result refine(const Refinement& refinement, std::stop_token stop);

    std::optional<BasicSummary> basicSummary(const std::string& transcript, std::stop_token stop);

    /// What would keep notes from being made now; looks for the keys.
    NotesHindrance hindrance(std::stop_token stop) const;

private:
    struct Answer {
        std::optional<std::string> text;
        std::string fault;
        NotesHindrance hindrance = NotesHindrance::none;
    };

    bool isKeptHere() const; // what is said in meetings
    /// `failure` goes into the log when no service answers.
    Answer ask(const ModelPrompt& prompt, std::string_view failure, std::stop_token stop);
    std::string call(CloudService service, const std::string& key, const ModelPrompt& prompt, std::stop_token stop);

    Services m_services;
    const OfflineNotes m_offline;
};

} // namespace fenlo
