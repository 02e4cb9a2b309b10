#include "meeting/NotesSections.h"

namespace fenlo {

std::vector<NotesSection> notesSections(const EnhancedMeetingNotes& notes) {
    std::vector<NotesSection> all{{"Summary", notes.summary, {}},
                                  {"Key Decisions", "", notes.keyDecisions},
                                  {"Action Items", "", notes.actionItems, true},
                                  {"Discussion Points", "", notes.discussionPoints},
                                  {"Follow-ups", "", notes.followUps}};
    for (const auto& section : notes.additionalSections)
        all.push_back({section.heading, "", section.items});
    std::erase_if(all, [](const NotesSection& section) { return section.text.empty() && section.items.empty(); });
    return all;
}

} // namespace fenlo
