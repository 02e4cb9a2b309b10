#pragma once

#include "app/pages/CommandTable.h"

namespace fenlo {

/// Scripts by which a shell completes the commands, options and values of `fenlo`. They start no program: the names of
/// models are those of the folders in ~/.fenlo/models.
std::string bashCompletion(const CommandEntry& program);
std::string zshCompletion(const CommandEntry& program);
std::string fishCompletion(const CommandEntry& program);

} // namespace fenlo
