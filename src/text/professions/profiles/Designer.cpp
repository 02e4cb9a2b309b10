#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"component", "\n\n**Component:** "},
    {"states", "\n**States:** "},
    {"spacing", "\n**Spacing:** "},
    {"behavior", "\n**Behavior:** "},
    {"annotation", "\n📌 "},
    {"feedback", "\n\n**Feedback:**\n- "},
    {"variant", "\n**Variant:** "},
    {"accessibility", "\n**A11y:** "},
};

constexpr std::string_view terms[] = {
    "Figma", "Sketch",        "wireframe", "mockup",     "prototype", "auto-layout", "breakpoint",  "responsive",
    "WCAG",  "accessibility", "heuristic", "typography", "kerning",   "leading",     "color token", "design system",
};

} // namespace

constinit const ProfessionProfile designerProfile{
    .hint = "This is a UI/UX designer. Use design terminology: wireframe, mockup, prototype, component, design system, "
            "spacing, padding, margin, typography, color token, Figma, Sketch, auto-layout, responsive, breakpoint, "
            "accessibility, WCAG, contrast ratio, user flow, information architecture, heuristic evaluation, usability "
            "testing.",
    .rewriteAddendum =
        "The user is a UI/UX designer. Preserve all design terminology, tool names, and specification language. Keep "
        "measurements exact (px, pt, rem, dp). Preserve color values (hex, RGB, HSL) and spacing tokens as spoken. "
        "Format design specs clearly — component name, states, dimensions, and behavior. Maintain the user's "
        "descriptive language for visual elements — do not simplify spatial descriptions.",
    .voiceCommands = commands,
    .sample = "The primary button needs 16 pixels of horizontal padding and should use our brand blue color token",
    .featureCards = {{
        {"Measurements stay exact", "Pixels, rem, hex colors and spacing tokens are kept as you said them, and your "
                                    "descriptions are not simplified."},
        {"Specs by voice",
         "Say “component”, “states”, “spacing” or “variant” and the label starts its own line, in bold."},
        {"It speaks design",
         "Figma, WCAG, auto-layout, kerning and others from the start. Names you correct by voice join them."},
    }},
    .tips = {{
        {"Describe it as you see it",
         "A spec is set out by the component's name, its states, dimensions and behavior."},
        {"Review out loud",
         "Say “annotation” for a 📌 on a new line, “feedback” for a list and “accessibility” for A11y:."},
        {"Teach it your design system", "When your last word is a misheard name, say “correct that to Meridian” within "
                                        "five seconds. It is replaced, and remembered."},
    }},
    .vocabulary = terms,
};

} // namespace fenlo
