#include "meeting/NotesPrompts.h"

#include "base/Text.h"
#include "meeting/MeetingNotes.h"
#include "text/professions/Professions.h"

namespace fenlo {

namespace {

constexpr int notesTokens = 2048;

/// How often the prompt shows the line of a list.
enum class ExampleLines { one = 1, two };

std::string repeated(std::string_view line, ExampleLines count) {
    return std::string(line) + (count == ExampleLines::two ? std::string(line) : "");
}

/// What every prompt for the notes of a transcript begins with.
std::string notesFormat(ExampleLines lines) {
    return "You are an expert meeting notes assistant. Given a meeting transcript, produce structured meeting "
           "notes.\n\nFormat your response EXACTLY as follows (use these exact headers, no markdown fences):\n\n"
           "TITLE: <concise meeting title>\n\n"
           "SUMMARY:\n<2-4 sentence summary>\n\n"
           "KEY DECISIONS:\n- Decision 1\n- Decision 2\n\n"
           "ACTION ITEMS:\n- Action item\n- Action item\n\n"
           "DISCUSSION POINTS:\n" +
           repeated("- Topic: key point discussed\n", lines) + "\nFOLLOW-UPS:\n" +
           repeated("- Follow-up item\n", lines) +
           "\nDo NOT include ATTENDEES or speaker names in the notes.\n\nTemplate-specific instructions: ";
}

std::string notesSystem(ExampleLines lines, MeetingTemplate kind, const std::string& profession) {
    return notesFormat(lines) + std::string(templateInstruction(kind)) + "\n\nContext: The user's profession is \"" +
           profession + "\". " + std::string(profile(profession).hint) +
           "\n\nIf a section has no content, write \"- None\" under it. Be concise but thorough.";
}

constexpr const char* refineSystem =
    "You are an expert meeting notes assistant. The user has meeting notes and wants to refine them.\n\n"
    "Apply the user's instruction to improve the notes. Use the original transcript as source of truth for any "
    "facts.\n\nFormat your response with ALL-CAPS section headers followed by colon, like:\n\n"
    "TITLE: <concise meeting title>\n\n"
    "SUMMARY:\n<2-4 sentence summary>\n\n"
    "KEY DECISIONS:\n- Decision 1\n\n"
    "ACTION ITEMS:\n- Action item\n\n"
    "DISCUSSION POINTS:\n- Topic: key point discussed\n\n"
    "FOLLOW-UPS:\n- Follow-up item\n\n"
    "You may ADD NEW SECTIONS if the user asks for them. Use ALL-CAPS headers with colon, e.g.:\n"
    "POST CHANGES:\n- Item 1\n\n"
    "Do NOT include ATTENDEES or speaker names. If a section has no content, write \"- None\". Be concise but "
    "thorough.";

constexpr const char* basicSummarySystem =
    "You are an expert meeting assistant. Given a meeting transcript, produce a structured summary.\n\n"
    "Format your response EXACTLY as follows (use these exact headers):\n\n"
    "## Summary\nA concise 2-4 sentence summary of the meeting.\n\n"
    "## Key Takeaways\n- Takeaway 1\n- Takeaway 2\n- Takeaway 3\n\n"
    "## Action Items\n- Action item 1\n- Action item 2\n- Action item 3\n\n"
    "Be concise. Use bullet points. Focus on decisions made, important points discussed, and next steps.\n"
    "If there are no clear action items, write \"- No specific action items identified\"";

} // namespace

std::string_view templateInstruction(MeetingTemplate kind) {
    switch (kind) {
    case MeetingTemplate::general:
        break;
    case MeetingTemplate::oneOnOne:
        return "Focus on feedback exchanged, blockers raised, career development topics, and personal action items for "
               "each participant.";
    case MeetingTemplate::standup:
        return "Keep it brief. For each speaker, list: what they did yesterday, what they're doing today, and any "
               "blockers. Omit lengthy discussion points.";
    case MeetingTemplate::sprintPlanning:
        return "Focus on stories/tasks discussed, estimation decisions, scope changes, sprint goals, and capacity "
               "concerns.";
    case MeetingTemplate::salesCall:
        return "Highlight customer pain points, objections raised, pricing discussion, competitive mentions, next "
               "steps, and deal stage assessment.";
    case MeetingTemplate::interview:
        return "Summarize questions asked, candidate responses (key strengths and concerns), technical assessment, "
               "culture fit signals, and hiring recommendation.";
    }
    return "Produce a comprehensive meeting summary covering all topics discussed.";
}

ModelPrompt notesPrompt(const std::string& transcript, const std::string& userNotes, MeetingTemplate kind,
                        const std::string& profession) {
    std::string user = transcript;
    if (const std::string typed = text::trimWhitespaceAndNewlines(userNotes); !typed.empty())
        user += "\n\n--- USER'S NOTES DURING MEETING ---\n" + typed +
                "\n--- END NOTES ---\nIncorporate these notes into the summary. They represent what the user found "
                "most important.";
    return {notesSystem(ExampleLines::two, kind, profession), std::move(user), notesTokens};
}

ModelPrompt pastNotesPrompt(const std::string& content, std::optional<MeetingTemplate> kind,
                            const std::string& profession) {
    return {notesSystem(ExampleLines::one, kind.value_or(MeetingTemplate::general), profession), content, notesTokens};
}

ModelPrompt refinePrompt(const EnhancedMeetingNotes& notes, const std::string& instruction,
                         const std::string& transcript) {
    return {refineSystem,
            "--- CURRENT NOTES ---\n" + notesAsText(notes) +
                "\n--- END CURRENT NOTES ---\n\n--- ORIGINAL TRANSCRIPT ---\n" + transcript +
                "\n--- END TRANSCRIPT ---\n\nUser's instruction: " + instruction,
            notesTokens};
}

ModelPrompt basicSummaryPrompt(const std::string& transcript) {
    return {basicSummarySystem, transcript, notesTokens};
}

} // namespace fenlo
