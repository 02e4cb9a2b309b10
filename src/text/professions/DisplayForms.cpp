#include "text/professions/Professions.h"

namespace fenlo {

namespace {

struct DisplayForm {
    std::string_view key;
    std::string_view display;
};

constexpr DisplayForm roleForms[] = {
    {"partner", "partner"},
    {"associate", "associate"},
    {"solo", "solo practitioner"},
    {"inhouse", "in-house counsel"},
    {"paralegal", "paralegal"},
    {"government", "government"},
    {"ceo", "CEO/founder"},
    {"vp", "VP/director"},
    {"manager", "manager"},
    {"ops", "operations"},
    {"sales", "sales"},
    {"hr", "HR"},
    {"tech", "tech support"},
    {"customer", "customer success"},
    {"sales_support", "sales support"},
    {"internal_help", "internal IT"},
};

/// Practice areas of lawyers are here too, so a lawyer's "family" reads like a doctor's.
constexpr DisplayForm specialtyForms[] = {
    {"cardiology", "Cardiology"},
    {"dermatology", "Dermatology"},
    {"emergency", "Emergency Medicine"},
    {"family", "Family Medicine"},
    {"internal", "Internal Medicine"},
    {"neurology", "Neurology"},
    {"orthopedics", "Orthopedics"},
    {"pediatrics", "Pediatrics"},
    {"psychiatry", "Psychiatry"},
    {"radiology", "Radiology"},
    {"surgery", "Surgery"},
    {"swift", "Swift"},
    {"python", "Python"},
    {"javascript", "JavaScript/TypeScript"},
    {"java", "Java/Kotlin"},
    {"csharp", "C#/.NET"},
    {"go", "Go"},
    {"rust", "Rust"},
    {"cpp", "C/C++"},
    {"ruby", "Ruby"},
    {"php", "PHP"},
    {"jira", "Jira"},
    {"linear", "Linear"},
    {"notion", "Notion"},
    {"confluence", "Confluence"},
    {"asana", "Asana"},
    {"figma", "Figma"},
    {"slack", "Slack"},
    {"sheets", "Google Sheets"},
    {"ml", "Machine Learning"},
    {"analytics", "Analytics/BI"},
    {"nlp", "NLP"},
    {"cv", "Computer Vision"},
    {"dataeng", "Data Engineering"},
    {"stats", "Statistics/Research"},
    {"product", "Product/UI"},
    {"ux", "UX Research"},
    {"brand", "Brand/Visual"},
    {"motion", "Motion/Video"},
    {"design_system", "Design Systems"},
    {"journalism", "Journalism"},
    {"fiction", "Fiction"},
    {"nonfiction", "Non-Fiction"},
    {"copywriting", "Copywriting/Marketing"},
    {"screenplay", "Screenplays"},
    {"technical", "Technical Writing"},
    {"stem", "STEM"},
    {"humanities", "Humanities"},
    {"business", "Business"},
    {"law", "Law"},
    {"medicine", "Pre-Med/Medicine"},
    {"arts", "Arts/Design"},
    {"litigation", "Litigation"},
    {"corporate", "Corporate/M&A"},
    {"criminal", "Criminal Defense"},
    {"ip", "IP/Patent"},
    {"immigration", "Immigration"},
    {"realestate", "Real Estate"},
    {"tax", "Tax"},
    {"employment", "Employment"},
    {"bankruptcy", "Bankruptcy"},
};

constexpr DisplayForm dictationTypes[] = {
    {"emails", "emails"},
    {"messages", "messages/chat"},
    {"notes", "notes"},
    {"documents", "documents/reports"},
    {"code_comments", "code comments"},
    {"coding", "writing code"},
    {"clinical_notes", "clinical notes"},
    {"prescriptions", "prescriptions"},
    {"legal_docs", "legal documents"},
    {"contracts", "contracts"},
    {"tickets", "tickets/issues"},
    {"prds", "PRDs/specs"},
    {"meeting_notes", "meeting notes"},
    {"social", "social media"},
    {"presentations", "presentations"},
    {"creative", "creative writing"},
    {"kb_articles", "knowledge base articles"},
};

std::string displayed(std::span<const DisplayForm> forms, std::string_view key) {
    for (const DisplayForm& form : forms)
        if (form.key == key)
            return std::string(form.display);
    return std::string(key);
}

} // namespace

std::string roleDisplay(std::string_view key) {
    return displayed(roleForms, key);
}

std::string specialtyDisplay(std::string_view key) {
    return displayed(specialtyForms, key);
}

std::string dictationTypeDisplay(std::string_view key) {
    return displayed(dictationTypes, key);
}

} // namespace fenlo
