#include "text/professions/Professions.h"

namespace fenlo {

namespace {

using Keys = std::span<const std::string_view>;

/// What a profession has to choose from.
struct Offer {
    std::string_view profession;
    Keys keys;
};

constexpr std::string_view lawyerRoles[] = {"partner", "associate", "solo", "inhouse", "paralegal", "government"};
constexpr std::string_view executiveRoles[] = {"ceo", "vp", "manager", "ops", "sales", "hr"};
constexpr std::string_view supportRoles[] = {"tech", "customer", "sales_support", "internal_help"};

constexpr Offer roles[] = {{"lawyer", lawyerRoles}, {"executive", executiveRoles}, {"support", supportRoles}};

constexpr std::string_view lawyerAreas[] = {"litigation",  "corporate",  "criminal", "ip",         "family",
                                            "immigration", "realestate", "tax",      "employment", "bankruptcy"};

constexpr Offer practiceAreas[] = {{"lawyer", lawyerAreas}};

constexpr std::string_view doctorSpecialties[] = {"cardiology", "dermatology", "emergency",   "family",
                                                  "internal",   "neurology",   "orthopedics", "pediatrics",
                                                  "psychiatry", "radiology",   "surgery",     "other"};
constexpr std::string_view developerLanguages[] = {"swift", "python", "javascript", "java", "csharp",
                                                   "go",    "rust",   "cpp",        "ruby", "php"};
constexpr std::string_view pmTools[] = {"jira", "linear", "notion", "confluence", "asana", "figma", "slack", "sheets"};
constexpr std::string_view dataScienceFields[] = {"ml", "analytics", "nlp", "cv", "dataeng", "stats"};
constexpr std::string_view designerFields[] = {"product", "ux", "brand", "motion", "design_system"};
constexpr std::string_view writerGenres[] = {"journalism",  "fiction",    "nonfiction",
                                             "copywriting", "screenplay", "technical"};
constexpr std::string_view studentFields[] = {"stem", "humanities", "business", "law", "medicine", "arts"};

constexpr Offer specialties[] = {
    {"doctor", doctorSpecialties},      {"developer", developerLanguages}, {"pm", pmTools},
    {"datascience", dataScienceFields}, {"designer", designerFields},      {"writer", writerGenres},
    {"student", studentFields},
};

constexpr std::string_view lawyerTexts[] = {"legal_docs", "contracts", "emails",       "notes",
                                            "documents",  "messages",  "meeting_notes"};
constexpr std::string_view doctorTexts[] = {"clinical_notes", "prescriptions", "emails",
                                            "notes",          "documents",     "messages"};
constexpr std::string_view developerTexts[] = {"coding", "code_comments", "messages", "documents", "emails", "tickets"};
constexpr std::string_view pmTexts[] = {"prds", "tickets", "documents", "emails", "meeting_notes", "messages"};
constexpr std::string_view executiveTexts[] = {"emails",    "meeting_notes", "presentations",
                                               "documents", "messages",      "notes"};
constexpr std::string_view supportTexts[] = {"tickets", "kb_articles", "emails", "messages", "notes", "documents"};
constexpr std::string_view dataScienceTexts[] = {"coding", "code_comments", "documents", "notes", "emails", "messages"};
constexpr std::string_view anyonesTexts[] = {"emails", "messages", "notes", "documents", "meeting_notes", "creative"};

constexpr Offer dictationTypes[] = {
    {"lawyer", lawyerTexts},       {"doctor", doctorTexts},   {"developer", developerTexts},     {"pm", pmTexts},
    {"executive", executiveTexts}, {"support", supportTexts}, {"datascience", dataScienceTexts},
};

Keys offered(std::span<const Offer> offers, std::string_view profession, Keys otherwise = {}) {
    for (const Offer& offer : offers)
        if (offer.profession == profession)
            return offer.keys;
    return otherwise;
}

} // namespace

std::span<const std::string_view> roleChoices(std::string_view profession) {
    return offered(roles, profession);
}

std::span<const std::string_view> practiceAreaChoices(std::string_view profession) {
    return offered(practiceAreas, profession);
}

std::span<const std::string_view> specialtyChoices(std::string_view profession) {
    return offered(specialties, profession);
}

std::span<const std::string_view> dictationTypeChoices(std::string_view profession) {
    return offered(dictationTypes, profession, anyonesTexts);
}

} // namespace fenlo
