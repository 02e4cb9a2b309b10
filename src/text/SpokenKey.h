#pragma once

#include <string>
#include <string_view>

namespace fenlo {

/// The form in which a whole utterance is compared with commands and triggers: lower case, without blanks around it and
/// without the full stop that recognisers add.
std::string spokenKey(std::string_view transcript);

} // namespace fenlo
