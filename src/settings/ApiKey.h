#pragma once

#include <string>
#include <string_view>

/// How a service's key is written and kept out of messages.
///
/// Threads: any.
namespace fenlo::apiKey {

/// The key without the line end or blanks that came along when it was copied: they would break the header it goes into.
std::string clean(std::string_view key);

/// A server's error in one line for the log, whatever it wrote and whether or not it quoted the key: "<service> API
/// error <status>: <start of the body, or "unknown" when it is no text>".
std::string describeError(std::string_view service, int status, std::string_view body, std::string_view key);

/// Whether a service that answers so does not know the key; the start of what it wrote is enough.
bool isRefused(int status, std::string_view body);

} // namespace fenlo::apiKey
