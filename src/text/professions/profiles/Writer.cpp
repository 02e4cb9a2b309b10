#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"em dash", " — "},
    {"en dash", "–"},
    {"interior", "\nINT. "},
    {"exterior", "\nEXT. "},
    {"cut to", "\n\nCUT TO:\n\n"},
    {"fade in", "FADE IN:\n\n"},
    {"fade out", "\n\nFADE OUT."},
    {"chapter", "\n\n# Chapter "},
};

} // namespace

constinit const ProfessionProfile writerProfile{
    .hint = "This is a writer or journalist dictating content. Preserve creative phrasing, literary devices, and "
            "unique word choices exactly. Use proper punctuation for dialogue and quotations.",
    .rewriteAddendum =
        "The user is a writer. Prioritize preserving their unique voice, rhythm, and word choices. Do minimal editing "
        "— fix obvious errors but do not flatten their style. Maintain literary or creative phrasing even if it bends "
        "grammar rules. Preserve dialogue formatting with proper quotation marks. Do not over-correct intentional "
        "sentence fragments, run-ons, or unconventional punctuation.",
    .voiceCommands = commands,
    .sample = "The morning light slanted through the blinds, casting prison-bar shadows across the desk",
    .featureCards = {{
        {"It keeps your voice", "Slips are put right. Rhythm, fragments and willful punctuation stay as you made them, "
                                "and dialogue gets its quotation marks."},
        {"Scenes by voice",
         "Say “interior”, “exterior”, “cut to” or “fade out” and the line of the screenplay is there."},
        {"It learns your cast", "The list of words starts empty and fills with the names that you correct by voice."},
    }},
    .tips = {{
        {"Even lighter editing", "Choose Minimal (errors only) in the settings and only misheard words are changed."},
        {"Dashes on demand",
         "Say “em dash” for — with a blank on each side, and “en dash” for – with none. “chapter” starts a new one."},
        {"Introduce a character", "When your last word is a misheard name, say “correct that to Ysolde” within five "
                                  "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = {},
};

} // namespace fenlo
