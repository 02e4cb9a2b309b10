#include "text/professions/profiles/Profiles.h"

namespace fenlo {

namespace {

constexpr SpokenCommand commands[] = {
    {"new clause", "\n\n"},
    {"whereas", "\n\nWHEREAS, "},
    {"therefore", "\n\nTHEREFORE, "},
    {"hereinafter", " (hereinafter referred to as \"\") "},
    {"section", "\n\nSection "},
    {"article", "\n\nArticle "},
    {"provided that", "\n\nProvided that, "},
    {"witness", "\n\nIN WITNESS WHEREOF, "},
};

constexpr std::string_view terms[] = {
    "habeas corpus", "prima facie",   "voir dire",   "amicus curiae", "de facto",   "de jure",    "pro bono",
    "res judicata",  "stare decisis", "ultra vires", "mens rea",      "actus reus", "certiorari", "mandamus",
    "subpoena",      "affidavit",     "deposition",  "injunction",    "indemnity",
};

} // namespace

constinit const ProfessionProfile lawyerProfile{
    .hint =
        "This is a legal professional. Use legal terminology: plaintiff, defendant, counsel, jurisdiction, statute, "
        "precedent, habeas corpus, prima facie, voir dire, amicus curiae, de facto, de jure, pro bono, subpoena, "
        "affidavit, deposition, injunction, tort, negligence, indemnity, arbitration, mediation, compliance, "
        "adjudication, certiorari, mandamus, res judicata, stare decisis, ultra vires, mens rea, actus reus.",
    .rewriteAddendum =
        "The user is a legal professional. Preserve all legal terminology, case citations, statute references, and "
        "Latin phrases exactly (e.g. habeas corpus, prima facie, voir dire, res judicata, stare decisis). Maintain "
        "formal legal writing tone. Do not simplify legal terms. Format case citations properly: Party v. Party, "
        "Volume Reporter Page (Year). Number clauses and sub-clauses when the dictation is contractual. Use precise "
        "legal language — 'shall' means mandatory, 'may' means permissive. IMPORTANT: Correct likely misheard Latin "
        "terms — e.g. 'pre-ma-fashy' likely means 'prima facie', 'habeas corpus' should never be simplified. Always "
        "prefer the legal interpretation.",
    .voiceCommands = commands,
    .sample = "The defendant filed a motion to dismiss on grounds of lack of personal jurisdiction",
    .featureCards = {{
        {"Legal language stays exact",
         "Latin, citations, shall and may are kept as you said them, and “pre-ma-fashy” is understood as prima facie."},
        {"Clauses by voice", "Say “whereas”, “therefore” or “provided that” and a new paragraph opens with it."},
        {"It knows its Latin",
         "Habeas corpus, res judicata, mens rea and others from the start. Names you correct by voice join them."},
    }},
    .tips = {{
        {"Cite as you speak",
         "Say the parties, volume, reporter, page and year. They are set in the usual form of a citation."},
        {"Define a term", "Say “hereinafter” for a definition in brackets, its quotation marks waiting for the name. "
                          "“section” and “article” open their own paragraphs."},
        {"Teach it a party's name", "When your last word is a misheard name, say “correct that to Okonkwo” within five "
                                    "seconds. It is replaced, and remembered."},
    }},
    .vocabulary = terms,
};

} // namespace fenlo
