#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"action item", "\n- [ ] "},
    {"decision", "\n**Decision:** "},
    {"next steps", "\n\n**Next Steps:**\n"},
    {"agenda", "\n\n**Agenda:**\n"},
    {"takeaway", "\n**Key Takeaway:** "},
    {"update", "\n\n**Update:**\n"},
    {"blocker", "\n- **Blocker:** "},
    {"owner", " — Owner: "},
};

constexpr std::string_view terms[] = {
    "KPI", "OKR", "ROI", "EBITDA", "P&L", "YoY", "QoQ", "MoM", "SaaS", "ARR", "MRR", "NPS", "CAC", "LTV", "TAM",
};

} // namespace

constinit const ProfessionProfile executiveProfile{
    .hint = "This is an executive or manager. Use business language: KPI, OKR, ROI, EBITDA, P&L, YoY, QoQ, MoM, "
            "pipeline, stakeholder, deliverable, milestone, bandwidth, alignment, synergy, leverage.",
    .rewriteAddendum =
        "The user is an executive/manager. Default to concise, action-oriented language. Strip filler words "
        "aggressively. Prioritize clarity and brevity — every sentence should convey a decision, directive, or key "
        "point. Format action items as bullet points. Preserve business acronyms: KPI, OKR, ROI, EBITDA, P&L, YoY, "
        "QoQ. Structure longer dictations with clear headers and bullet points.",
    .voiceCommands = commands,
    .sample = "We need to realign Q3 priorities and focus engineering bandwidth on the payment integration",
    .featureCards = {{
        {"Short and to the point",
         "Filler words go and decisions stay. Action items become bullet points, long dictations get headers."},
        {"Minutes by voice",
         "Say “agenda”, “decision”, “action item” or “next steps” and the heading or check box is there."},
        {"It knows your shorthand",
         "EBITDA, P&L, ARR, NPS and others from the start. Names you correct by voice join them."},
    }},
    .tips = {{
        {"Numbers are safe",
         "Amounts, percentages and dates come out exactly as you said them, however short the rest becomes."},
        {"Put a name to it",
         "Say “owner” after a task to add its owner, “blocker” for what is in the way and “takeaway” for what counts."},
        {"Teach it a customer", "When your last word is a misheard name, say “correct that to Lindqvist” within five "
                                "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = terms,
};

} // namespace fenlo
