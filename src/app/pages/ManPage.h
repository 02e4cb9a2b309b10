#pragma once

#include "app/pages/CommandTable.h"

namespace fenlo {

/// The manual page of the program (section 1). `sections` is troff that stands before "SEE ALSO": what no table knows.
std::string programPage(const CommandEntry& program, const std::string& version, const std::string& sections);

/// The manual page of one command, with those below it.
std::string commandPage(const CommandEntry& command, const std::string& version);

} // namespace fenlo
