#include "meeting/MeetingNotesWriter.h"

#include "base/Log.h"
#include "base/Text.h"
#include "meeting/NotesPrompts.h"
#include "settings/ApiKey.h"
#include "settings/Config.h"
#include "settings/Deployment.h"

#include <vector>

namespace fenlo {

namespace {

constexpr int brokenReply = -1;
constexpr CloudService modelServices[] = {CloudService::gemini, CloudService::groq}; // in the order of asking

std::string_view domainOf(CloudService service) {
    return service == CloudService::gemini ? "MeetingGemini" : "MeetingSummary";
}

/// What a status that is no success means to the user.
std::string meaningOf(const SmartRewriteError& error) {
    if (apiKey::isRefused(error.status, error.what()))
        return "refused the key";
    switch (error.status) {
    case 400:
    case 413:
        return "did not take the transcript, which may be too long for it";
    case 429:
        return "has had enough requests for now";
    default:
        return "has a fault";
    }
}

/// The services' own texts stay out of it: they may quote what they were sent.
[[noreturn]] void rethrowForMeeting(CloudService service) {
    const std::string name = serviceKey(service).label;
    try {
        throw;
    } catch (const SmartRewriteError& error) {
        if (error.kind == SmartRewriteError::Kind::apiError)
            throw MeetingModelError(domainOf(service), error.status,
                                    name + " " + meaningOf(error) + " (" + std::to_string(error.status) + ")");
        throw MeetingModelError(domainOf(service), brokenReply, name + " sent no answer that can be read");
    } catch (const HttpError& error) {
        throw MeetingModelError(
            domainOf(service), 0,
            name + (error.kind == HttpError::Kind::timeout ? " did not answer in time" : " could not be reached"));
    } catch (const std::exception&) {
        throw MeetingModelError(domainOf(service), brokenReply, name + " sent no answer that can be read");
    }
}

/// Notes without content are none: they would take the place of those that the user has.
MeetingNotesWriter::Result resultOf(const auto& answer, const std::string& subject) {
    if (!answer.text)
        return {{}, answer.fault, answer.hindrance};
    EnhancedMeetingNotes notes = parseNotes(*answer.text, subject);
    if (isEmpty(notes))
        notes = parseNotes(withoutMarkdown(*answer.text), subject);
    if (!isEmpty(notes))
        return {std::move(notes), {}};
    logError("A language model's answer held no notes");
    return {{}, "The language model wrote something else than notes; try again."};
}

constexpr const char* noKeyLine =
    "Notes need a key for Gemini or Groq; add one under Settings, Services. The transcript is kept.";
constexpr const char* offlineLine =
    "Offline mode is on, so nothing was sent to a language model; turn it off under Settings, Offline, to have notes.";

} // namespace

MeetingNotesWriter::Result MeetingNotesWriter::summarize(const Meeting& meeting, std::stop_token stop) {
    const std::string profession = m_services.config.get().profession;
    const Answer answer = ask(notesPrompt(meeting.transcript, meeting.userNotes, meeting.kind, profession),
                              "Enhanced summarize failed — no API keys or both APIs failed", stop);
    Result result = resultOf(answer, meeting.subject);
    if (result.notes)
        logInfo("Enhanced meeting notes generated: {}", result.notes->title);
    return result;
}

MeetingNotesWriter::Result MeetingNotesWriter::summarizePast(const std::string& content,
                                                             std::optional<MeetingTemplate> kind,
                                                             const std::string& subject, std::stop_token stop) {
    const Answer answer = ask(pastNotesPrompt(content, kind, m_services.config.get().profession),
                              "Enhanced summarize for past meeting failed", stop);
    Result result = resultOf(answer, subject);
    if (result.notes)
        logInfo("Enhanced notes for past meeting: {}", result.notes->title);
    return result;
}

MeetingNotesWriter::Result MeetingNotesWriter::refine(const Refinement& refinement, std::stop_token stop) {
    const Answer answer = ask(refinePrompt(refinement.notes, refinement.instruction, refinement.transcript),
                              "Refine summary failed", stop);
    Result result = resultOf(answer, refinement.subject);
    if (result.notes)
        logInfo("Refined meeting notes: '{}' → '{}'", refinement.notes.title, result.notes->title);
    return result;
}

std::optional<BasicSummary> MeetingNotesWriter::basicSummary(const std::string& transcript, std::stop_token stop) {
    const Answer answer =
        ask(basicSummaryPrompt(transcript), "Meeting summary failed: no API keys or both APIs failed", stop);
    return answer.text ? std::optional(parseBasicSummary(*answer.text)) : std::nullopt;
}

bool MeetingNotesWriter::isKeptHere() const {
    return m_offline == OfflineNotes::none && m_services.config.get().offlineMode;
}

NotesHindrance MeetingNotesWriter::hindrance(std::stop_token stop) const {
    if (isKeptHere())
        return NotesHindrance::offlineMode;
    for (const CloudService service : modelServices)
        if (m_services.keys.find(service, KeyUse::rewriting, stop))
            return NotesHindrance::none;
    return NotesHindrance::noKey;
}

MeetingNotesWriter::Answer MeetingNotesWriter::ask(const ModelPrompt& prompt, std::string_view failure,
                                                   std::stop_token stop) {
    if (isKeptHere()) {
        logInfo("No language model is asked about the meeting: offline mode is on");
        return {{}, offlineLine, NotesHindrance::offlineMode};
    }
    std::vector<std::string> failures;
    for (const CloudService service : modelServices) {
        const auto key = m_services.keys.find(service, KeyUse::rewriting, stop);
        if (stop.stop_requested())
            return {};
        if (!key)
            continue;
        try {
            return {call(service, *key, prompt, stop), {}};
        } catch (const MeetingModelError& error) {
            failures.emplace_back(error.what());
        }
    }
    if (stop.stop_requested())
        return {};
    logError("{}", failure);
    if (failures.empty())
        return {{}, noKeyLine, NotesHindrance::noKey};
    return {{}, text::join(failures, ", and ") + ". The transcript is kept; try again."};
}

std::string MeetingNotesWriter::call(CloudService service, const std::string& key, const ModelPrompt& prompt,
                                     std::stop_token stop) {
    try {
        return text::withoutControls(
            service == CloudService::gemini
                ? callGemini(m_services.http, {m_services.deployment.geminiHost, key}, prompt, stop)
                : callGroq(m_services.http, {m_services.deployment.groqHost, key}, prompt, stop));
    } catch (const std::exception&) {
        rethrowForMeeting(service);
    }
}

} // namespace fenlo
