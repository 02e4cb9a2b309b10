#pragma once

#include <functional>
#include <map>
#include <stop_token>
#include <string>

namespace fenlo {

/// What the backend tells this installation, by name. Blocks. An empty function stands for no backend.
using RemoteConfiguration = std::function<std::map<std::string, std::string>(std::stop_token)>;

} // namespace fenlo
