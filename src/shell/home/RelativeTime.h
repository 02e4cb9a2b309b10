#pragma once

#include "base/Dates.h"

#include <string>
#include <string_view>

namespace fenlo {

/// How long ago that was, as people say it: "Just now", "5 minutes ago", "Yesterday", and the date after a week.
std::string relativeTime(dates::Moment then, dates::Moment now);

/// The same of an ISO 8601 date and time; another text comes back as it is.
std::string relativeTime(std::string_view timestamp, dates::Moment now);

} // namespace fenlo
