#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"cite", " (Author, Year) "},
    {"end quote", "\" "},
    {"block quote", "\n\n> "},
    {"introduction", "\n\n## Introduction\n\n"},
    {"conclusion", "\n\n## Conclusion\n\n"},
    {"methodology", "\n\n## Methodology\n\n"},
    {"references", "\n\n## References\n\n"},
    {"footnote", "[^] "},
};

} // namespace

constinit const ProfessionProfile studentProfile{
    .hint = "This is a student dictating academic content. Preserve citations, references, technical terms, and "
            "academic language. Use proper punctuation for essays and papers.",
    .rewriteAddendum = "The user is a student. Clean up academic language naturally. Preserve citations, references, "
                       "and technical terms from their field. Structure longer dictations into clear paragraphs "
                       "suitable for essays or papers. Expand contractions for formal academic writing (don't → do "
                       "not). Maintain academic tone — precise, evidence-based language.",
    .voiceCommands = commands,
    .sample = "The study demonstrates a statistically significant correlation between sleep duration and cognitive "
              "performance",
    .featureCards = {{
        {"From talk to paper",
         "Contractions are written out and long dictations fall into paragraphs. Citations stay as you gave them."},
        {"Sections by voice",
         "Say “introduction”, “methodology”, “conclusion” or “references” and the heading is there."},
        {"It learns your field", "The list of words starts empty and fills with the names that you correct by voice."},
    }},
    .tips = {{
        {"Writing to a friend?",
         "Choose Switch to Personal in the menu and the academic tone stays out until you switch back."},
        {"Cite without stopping",
         "Say “cite” for (Author, Year) to fill in, “footnote” for [^] and “block quote” to open a quotation."},
        {"Teach it an author", "When your last word is a misheard name, say “correct that to Wittgenstein” within five "
                               "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = {},
};

} // namespace fenlo
