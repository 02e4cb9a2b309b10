#pragma once

#include <string>

namespace fenlo {

/// Brings a trigger's word to the running program. Complains in one line on standard error; returns the exit status.
///
/// A shortcut of the desktop runs this at each press and each release, so it stands on little: the small program
/// fenlo-trigger has nothing else in it.
int orderTrigger(const std::string& word);

} // namespace fenlo
