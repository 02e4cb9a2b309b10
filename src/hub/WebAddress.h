#pragma once

#include <string>
#include <string_view>

namespace fenlo::hub {

/// Scheme, host and port of an http or https address, in lower case; empty for other schemes and for addresses with a
/// user name.
std::string originOf(std::string_view url);

/// The address that a redirect or link leads to, relative to the address it came from; empty when it is not http or
/// https.
std::string resolveAddress(std::string_view base, std::string_view reference);

/// The address of the next page, from the Link header (RFC 8288); empty for the last page.
std::string nextPage(std::string_view linkHeader);

} // namespace fenlo::hub
