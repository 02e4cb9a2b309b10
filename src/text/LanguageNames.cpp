#include "text/LanguageNames.h"

#include <string_view>

namespace fenlo {

namespace {

struct LanguageName {
    std::string_view code;
    std::string_view name;
};

constexpr LanguageName names[] = {
    {"en", "English"},    {"hi", "Hindi"},      {"es", "Spanish"},   {"fr", "French"},    {"de", "German"},
    {"pt", "Portuguese"}, {"it", "Italian"},    {"nl", "Dutch"},     {"ja", "Japanese"},  {"ko", "Korean"},
    {"zh", "Chinese"},    {"ru", "Russian"},    {"ar", "Arabic"},    {"pl", "Polish"},    {"sv", "Swedish"},
    {"da", "Danish"},     {"no", "Norwegian"},  {"fi", "Finnish"},   {"tr", "Turkish"},   {"cs", "Czech"},
    {"ro", "Romanian"},   {"hu", "Hungarian"},  {"el", "Greek"},     {"he", "Hebrew"},    {"th", "Thai"},
    {"vi", "Vietnamese"}, {"id", "Indonesian"}, {"ms", "Malay"},     {"uk", "Ukrainian"}, {"ca", "Catalan"},
    {"hr", "Croatian"},   {"sk", "Slovak"},     {"bg", "Bulgarian"}, {"ta", "Tamil"},     {"te", "Telugu"},
    {"bn", "Bengali"},
};

} // namespace

std::string languageName(const std::string& code) {
    for (const LanguageName& known : names)
        if (known.code == code)
            return std::string(known.name);
    return code;
}

} // namespace fenlo
