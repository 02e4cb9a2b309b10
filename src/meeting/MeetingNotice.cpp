#include "meeting/MeetingNotice.h"

namespace fenlo {

MeetingNotice withRemedy(MeetingNotice notice, NotesHindrance hindrance) {
    if (hindrance == NotesHindrance::none)
        return notice;
    notice.action = "Open Settings";
    notice.section = hindrance == NotesHindrance::noKey ? "Services" : "Offline";
    return notice;
}

} // namespace fenlo
