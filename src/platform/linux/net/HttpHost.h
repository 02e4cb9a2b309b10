#pragma once

#include <string>

namespace fenlo {

/// Who a request goes to.
struct HttpHost {
    std::string origin; // scheme, host and port: what a connection can be shared by
    std::string label;  // for messages; no user, no password, no path

    /// Throws HttpError badUrl unless it is an http or https URL.
    static HttpHost of(const std::string& url);
};

} // namespace fenlo
