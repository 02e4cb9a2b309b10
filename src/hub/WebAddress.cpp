#include "hub/WebAddress.h"

#include "base/Text.h"

#include <algorithm>

namespace fenlo::hub {

namespace {

/// The length of "https://host:port" at the start of an address.
std::size_t originLength(std::string_view url) {
    const std::size_t scheme = url.find("://");
    if (scheme == std::string_view::npos)
        return 0;
    return std::min(url.find_first_of("/?#\\", scheme + 3), url.size());
}

} // namespace

std::string originOf(std::string_view url) {
    const std::string origin = text::lower(url.substr(0, originLength(url)));
    const bool isWeb =
        (origin.starts_with("http://") && origin.size() > 7) || (origin.starts_with("https://") && origin.size() > 8);
    return isWeb && origin.find('@') == std::string::npos ? origin : "";
}

std::string resolveAddress(std::string_view base, std::string_view reference) {
    reference = reference.substr(0, reference.find('#'));
    const std::string origin = originOf(base);
    if (origin.empty() || reference.empty())
        return {};
    if (!originOf(reference).empty())
        return std::string(reference);
    if (reference.find("://") < reference.find_first_of("/?"))
        return {}; // another scheme, or a user in the address
    if (reference.starts_with("//"))
        return resolveAddress(base, origin.substr(0, origin.find(':') + 1) + std::string(reference));
    if (reference.front() == '/')
        return origin + std::string(reference);
    std::string_view path = base.substr(originLength(base));
    path = path.substr(0, path.find_first_of("?#"));
    if (reference.front() != '?')
        path = path.substr(0, path.rfind('/') + 1);
    return origin + (path.empty() ? "/" : std::string(path)) + std::string(reference);
}

std::string nextPage(std::string_view linkHeader) {
    for (;;) {
        const std::size_t open = linkHeader.find('<');
        const std::size_t close = linkHeader.find('>', open);
        if (close == std::string_view::npos)
            return {};
        const std::string_view address = linkHeader.substr(open + 1, close - open - 1);
        linkHeader.remove_prefix(close + 1);
        const std::string parameters = text::lower(linkHeader.substr(0, linkHeader.find('<')));
        for (const std::string& parameter : text::split(text::replaceAll(parameters, ",", ";"), ';')) {
            const std::string plain = text::replaceAll(text::replaceAll(parameter, "\"", ""), " ", "");
            if (plain == "rel=next")
                return std::string(address);
        }
    }
}

} // namespace fenlo::hub
