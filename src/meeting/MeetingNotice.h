#pragma once

#include <string>

namespace fenlo {

/// Something to tell beside a meeting.
struct MeetingNotice {
    enum class Kind { info, good, warning, error };
    Kind kind = Kind::info;
    std::string text = {};   // a sentence or two; empty when there is nothing to tell
    std::string action = {}; // the caption of its button; empty without one
};

} // namespace fenlo
