#include "meeting/Recipients.h"

#include "base/Text.h"

#include <algorithm>

namespace fenlo {

std::optional<std::string> addressToAdd(std::string_view typed, const std::vector<std::string>& additional,
                                        const std::string& primary) {
    const std::string address = text::trimWhitespace(typed);
    const auto has = [&](char c) { return address.find(c) != std::string::npos; };
    if (!has('@') || !has('.') || address == primary || std::ranges::find(additional, address) != additional.end())
        return std::nullopt;
    return address;
}

std::vector<std::string> cleanRecipients(const std::vector<std::string>& additional, const std::string& primary) {
    std::vector<std::string> clean = additional;
    std::erase_if(clean, [&](const std::string& address) { return address.empty() || address == primary; });
    return clean;
}

} // namespace fenlo
