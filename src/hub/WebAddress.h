#pragma once

#include <string>
#include <string_view>

namespace fenlo::hub {

/// Scheme, host and port of an http or https address, in lower case; empty for any other and for one that names a user.
std::string originOf(std::string_view url);

/// Where a redirect's or link's address leads, seen from the address it came with; empty when it is no http or https
/// address.
std::string resolveAddress(std::string_view base, std::string_view reference);

/// The address of the page after this one, from the Link header (RFC 8288); empty when there is none.
std::string nextPage(std::string_view linkHeader);

} // namespace fenlo::hub
