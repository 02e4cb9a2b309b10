#pragma once

#include "meeting/MeetingNotesWriter.h"

#include <string>

namespace fenlo {

/// Something to tell beside a meeting.
struct MeetingNotice {
    enum class Kind { info, good, warning, error };
    Kind kind = Kind::info;
    std::string text = {};    // a sentence or two; empty when there is nothing to tell
    std::string action = {};  // the caption of its button; empty without one
    std::string section = {}; // of the settings, which the button opens; empty for another action
    bool canClose = false;    // by the user, since it tells of something that is over
};

/// The same, with a button to the settings where these would help.
MeetingNotice withRemedy(MeetingNotice notice, NotesHindrance hindrance);

} // namespace fenlo
