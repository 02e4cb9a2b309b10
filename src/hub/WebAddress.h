#pragma once

#include <string>
#include <string_view>

namespace fenlo::hub {

/// The address of the next page, from the Link header (RFC 8288); empty for the last page.
std::string nextPage(std::string_view linkHeader);

} // namespace fenlo::hub
