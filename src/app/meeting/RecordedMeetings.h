#pragma once

namespace fenlo {

struct MeetingOptions;

/// `fenlo meeting`: its exit status. Throws UsageError, Interrupted, and std::runtime_error with a line for the user.
int runMeeting(const MeetingOptions& options);

} // namespace fenlo
