#include "meeting/MeetingRecord.h"

namespace fenlo {

const std::string& speakerDisplayName(const std::map<int, std::string>& names, const Speaker& speaker) {
    const auto given = names.find(speaker.id);
    return given == names.end() ? speaker.label : given->second;
}

} // namespace fenlo
