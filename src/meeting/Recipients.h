#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The addresses that a meeting is mailed to. The primary one is the user's own, and may be empty.
///
/// Threads: any; pure.
namespace fenlo {

/// The address that the user typed, if it can be added: it looks like one, and is not among the recipients yet.
std::optional<std::string> addressToAdd(std::string_view typed, const std::vector<std::string>& additional,
                                        const std::string& primary);

/// The additional recipients without empty ones and without the primary address.
std::vector<std::string> cleanRecipients(const std::vector<std::string>& additional, const std::string& primary);

} // namespace fenlo
