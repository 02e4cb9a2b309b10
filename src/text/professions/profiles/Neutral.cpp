#include "text/professions/profiles/Profiles.h"

namespace fenlo {

constinit const ProfessionProfile neutralProfile{
    .hint = "",
    .rewriteAddendum = "",
    .voiceCommands = {},
    .sample = "The quick brown fox jumps over the lazy dog near the riverbank",
    .featureCards = {{
        {"You talk, it tidies",
         "Punctuation and capitals are put in and garbled words are mended. What you said stays what you said."},
        {"Punctuation by voice", "Say “new line”, “question mark” or “open paren” where you want one."},
        {"It learns your words", "Names that you correct by voice are remembered. Add your own words in the settings."},
    }},
    .tips = {{
        {"Tone follows the window",
         "The same sentence comes out relaxed in a chat and proper in a mail. Dictate where it will be read."},
        {"A command on its own", "Say nothing but “select all” to select the text, or “copy that” to have your last "
                                 "dictation on the clipboard."},
        {"Teach it a name", "When your last word is a misheard name, say “correct that to Marguerite” within five "
                            "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = {},
};

} // namespace fenlo
