#pragma once

#include "platform/HttpClient.h"

#include <algorithm>

/// What clients read in answers.
namespace fenlo {

/// The value of the first header of that name (in lower case), or "".
inline std::string headerOf(const HttpResponse& response, std::string_view name) {
    const auto found = std::find_if(response.headers.begin(), response.headers.end(),
                                    [&](const auto& entry) { return entry.first == name; });
    return found == response.headers.end() ? "" : found->second;
}

/// Whether the answer is elsewhere: the header "location" says where.
inline bool isRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

} // namespace fenlo
