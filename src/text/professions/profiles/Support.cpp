#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"greeting", "Hi there! Thank you for reaching out. "},
    {"closing", "\n\nPlease let me know if you have any other questions. Happy to help!"},
    {"step one", "\n\n1. "},
    {"step two", "\n2. "},
    {"step three", "\n3. "},
    {"step four", "\n4. "},
    {"workaround", "\n\n**Workaround:** "},
    {"escalate", "\n\n**Escalation Note:** "},
};

constexpr std::string_view terms[] = {
    "SLA", "escalation", "workaround", "troubleshooting", "root cause",
};

} // namespace

constinit const ProfessionProfile supportProfile{
    .hint = "This is a customer support agent. Use support terminology: ticket, escalation, SLA, resolution, "
            "follow-up, workaround, known issue, root cause, troubleshooting.",
    .rewriteAddendum =
        "The user works in customer support. Default to empathetic, helpful, and clear language. Structure responses "
        "to address the customer's issue directly. Maintain a warm but professional tone. Format troubleshooting steps "
        "as numbered lists. Keep responses solution-oriented — lead with the fix, then explain.",
    .voiceCommands = commands,
    .sample = "I understand the frustration and I'm going to help you resolve this right away",
    .featureCards = {{
        {"Friendly and clear",
         "Replies come out warm and easy to follow, and the steps of a repair as a numbered list."},
        {"Replies by voice",
         "Say “greeting” and “closing” for a whole opening and a whole farewell, and “workaround” for its heading."},
        {"It knows your desk",
         "SLA, escalation, workaround and root cause from the start. Names you correct by voice join them."},
    }},
    .tips = {{
        {"Fix first, reason second", "A reply leads with the fix and explains after it."},
        {"Number as you go",
         "Say “step one”, “step two” and so on up to “step four”. “escalate” starts the note for your colleagues."},
        {"Teach it a product", "When your last word is a misheard name, say “correct that to Solano” within five "
                               "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = terms,
};

} // namespace fenlo
