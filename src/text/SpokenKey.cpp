#include "text/SpokenKey.h"

#include "base/Text.h"

namespace fenlo {

std::string spokenKey(std::string_view transcript) {
    const std::string key = text::trimWhitespace(text::lower(transcript));
    const std::size_t start = key.find_first_not_of('.');
    if (start == std::string::npos)
        return {};
    return key.substr(start, key.find_last_not_of('.') + 1 - start);
}

} // namespace fenlo
