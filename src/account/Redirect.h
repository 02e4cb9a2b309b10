#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenlo {

/// What a browser brings back from a sign-in.
struct Redirect {
    std::optional<std::string> code; // percent-decoded; nothing when the user refused, and for any other address
};

/// Reads the first line of a request: "GET /?code=4%2F0A HTTP/1.1". Nothing for bytes that are no request of the web,
/// and for one whose first line is not whole: its code would be cut off.
std::optional<Redirect> readRedirect(std::string_view request);

} // namespace fenlo
