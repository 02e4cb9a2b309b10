#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"user story", "\n\n**User Story:** As a "},
    {"acceptance criteria", "\n\n**Acceptance Criteria:**\n- [ ] "},
    {"requirement", "\n- **Req:** "},
    {"priority", "\n**Priority:** "},
    {"context", "\n\n**Context:**\n"},
    {"open question", "\n- **Open Question:** "},
    {"decision", "\n**Decision:** "},
    {"action item", "\n- [ ] "},
};

constexpr std::string_view terms[] = {
    "PRD",     "RFC",    "OKR",    "KPI",        "DAU",       "MAU",    "WAU",        "MVP",
    "RICE",    "MoSCoW", "P0",     "P1",         "P2",        "sprint", "backlog",    "roadmap",
    "standup", "retro",  "funnel", "conversion", "retention", "churn",  "north star",
};

} // namespace

constinit const ProfessionProfile productManagerProfile{
    .hint = "This is a product manager. Use product terminology: PRD, RFC, spec, user story, acceptance criteria, "
            "sprint, backlog, roadmap, P0, P1, P2, stakeholder, OKR, KPI, DAU, MAU, WAU, retention, churn, funnel, "
            "conversion, A/B test, feature flag, MVP, north star metric, RICE, MoSCoW.",
    .rewriteAddendum =
        "The user is a product manager. Default to clear, structured language suitable for PRDs, tickets, and "
        "stakeholder communication. Format user stories as: \"As a [user], I want [goal], so that [reason].\" when the "
        "dictation follows that pattern. Use bullet points for requirements and acceptance criteria. Preserve product "
        "acronyms: PRD, RFC, OKR, KPI, DAU, MAU, MVP, RICE. Keep language precise and unambiguous — specs should not "
        "leave room for interpretation.",
    .voiceCommands = commands,
    .sample = "Users are dropping off at the checkout step because the payment flow requires too many taps",
    .featureCards = {{
        {"Clear enough to build from",
         "Loose speech becomes plain, structured wording: requirements as bullet points, acronyms intact."},
        {"Tickets by voice",
         "Say “user story”, “acceptance criteria” or “requirement” and its Markdown heading or bullet is there."},
        {"It knows your acronyms",
         "PRD, OKR, DAU, MoSCoW and others from the start. Names you correct by voice join them."},
    }},
    .tips = {{
        {"Speak the pattern",
         "Say: as a shopper, I want to pay with one tap, so that I am done sooner. It is set as a user story."},
        {"Catch the loose ends", "Say “open question”, “decision” or “action item” and each starts a line of its own."},
        {"Teach it a code name", "When your last word is a misheard name, say “correct that to Bluebird” within five "
                                 "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = terms,
};

} // namespace fenlo
