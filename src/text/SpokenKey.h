#pragma once

#include <string>
#include <string_view>

namespace fenlo {

/// What an utterance is looked up by when the whole of it may be a command: lower case, without blanks round it and
/// without the full stop that recognisers put behind it.
std::string spokenKey(std::string_view transcript);

} // namespace fenlo
