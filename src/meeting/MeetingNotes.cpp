#include "meeting/MeetingNotes.h"

#include "base/Text.h"

#include <algorithm>
#include <array>

namespace fenlo {

namespace {

constexpr std::string_view titleMark = "TITLE:";
constexpr std::string_view itemMark = "- ";
constexpr std::size_t shortestHeading = 4; // characters, the colon among them

using Items = std::vector<std::string>;

/// A heading of the notes, and the list that follows it.
struct NotesHeading {
    std::string_view line;
    Items EnhancedMeetingNotes::*items; // null for the summary
};

constexpr std::array notesHeadings{
    NotesHeading{"SUMMARY:", nullptr},
    NotesHeading{"KEY DECISIONS:", &EnhancedMeetingNotes::keyDecisions},
    NotesHeading{"ACTION ITEMS:", &EnhancedMeetingNotes::actionItems},
    NotesHeading{"DISCUSSION POINTS:", &EnhancedMeetingNotes::discussionPoints},
    NotesHeading{"FOLLOW-UPS:", &EnhancedMeetingNotes::followUps},
    NotesHeading{"FOLLOW UPS:", &EnhancedMeetingNotes::followUps},
};

bool isOwnHeading(const std::string& line) {
    return line.ends_with(':') && text::characterCount(line) >= shortestHeading && text::upper(line) == line;
}

std::string headingText(std::string_view line) {
    return text::capitalised(text::trimWhitespace(line.substr(0, line.size() - 1)));
}

/// Adds a line to a paragraph.
void extend(std::string& paragraph, const std::string& line) {
    paragraph += (paragraph.empty() ? "" : " ") + line;
}

void addItem(Items& items, const std::string& line) {
    if (line.starts_with(itemMark))
        items.push_back(line.substr(itemMark.size()));
}

/// Takes an answer line by line.
class NotesReader {
public:
    void take(const std::string& line) {
        if (line.starts_with(titleMark))
            m_notes.title = text::trimWhitespace(text::replaceAll(line, titleMark, ""));
        else if (!takesHeading(line) && !line.empty())
            takeContent(line);
    }

    EnhancedMeetingNotes finish(const std::string& subject) {
        if (m_notes.title.empty())
            m_notes.title = subject;
        std::erase_if(m_notes.additionalSections, [](const auto& section) { return section.items.empty(); });
        return std::move(m_notes);
    }

private:
    enum class Place { outside, summary, list, ownSection };

    bool takesHeading(const std::string& line) {
        if (line.starts_with("ATTENDEES:")) {
            m_place = Place::outside;
            return true;
        }
        if (const auto* known = std::ranges::find(notesHeadings, line, &NotesHeading::line);
            known != notesHeadings.end()) {
            m_place = known->items ? Place::list : Place::summary;
            m_list = known->items;
            return true;
        }
        if (!isOwnHeading(line))
            return false;
        m_notes.additionalSections.push_back({headingText(line), {}});
        m_place = Place::ownSection;
        return true;
    }

    void takeContent(const std::string& line) {
        if (m_place == Place::summary)
            extend(m_notes.summary, line);
        else if (m_place != Place::outside && line != "- None")
            addItem(m_place == Place::list ? m_notes.*m_list : m_notes.additionalSections.back().items, line);
    }

    EnhancedMeetingNotes m_notes;
    Place m_place = Place::outside;
    Items EnhancedMeetingNotes::*m_list = nullptr;
};

/// A line that Markdown makes bold or a heading, as plain text.
std::string plainLineOf(const std::string& line) {
    std::string plain = text::trimWhitespace(text::replaceAll(line, "**", ""));
    for (const std::string_view mark : {"* ", "• "})
        if (plain.starts_with(mark))
            return "- " + plain.substr(mark.size());
    plain = text::trimWhitespace(plain.substr(std::min(plain.find_first_not_of('#'), plain.size())));
    if (const std::string upper = text::upper(plain); upper.starts_with(titleMark))
        return std::string(titleMark) + plain.substr(titleMark.size());
    const std::string heading = text::upper(plain) + (plain.ends_with(':') ? "" : ":");
    return std::ranges::find(notesHeadings, heading, &NotesHeading::line) == notesHeadings.end() ? plain : heading;
}

std::string itemLines(const Items& items) {
    return items.empty() ? "" : std::string(itemMark) + text::join(items, "\n- ");
}

} // namespace

EnhancedMeetingNotes parseNotes(std::string_view answer, const std::string& subject) {
    NotesReader reader;
    for (const std::string& line : text::split(answer, '\n'))
        reader.take(text::trimWhitespace(line));
    return reader.finish(subject);
}

std::string withoutMarkdown(std::string_view answer) {
    std::vector<std::string> lines;
    for (const std::string& line : text::split(answer, '\n'))
        lines.push_back(plainLineOf(text::trimWhitespace(line)));
    return text::join(lines, "\n");
}

bool isEmpty(const EnhancedMeetingNotes& notes) {
    EnhancedMeetingNotes onlyTitle;
    onlyTitle.title = notes.title;
    return notes == onlyTitle;
}

std::string notesAsText(const EnhancedMeetingNotes& notes) {
    std::string text = "TITLE: " + notes.title + "\nSUMMARY:\n" + notes.summary;
    text += "\nKEY DECISIONS:\n" + itemLines(notes.keyDecisions);
    text += "\nACTION ITEMS:\n" + itemLines(notes.actionItems);
    text += "\nDISCUSSION POINTS:\n" + itemLines(notes.discussionPoints);
    text += "\nFOLLOW-UPS:\n" + itemLines(notes.followUps);
    for (const auto& [heading, items] : notes.additionalSections)
        text += "\n" + text::upper(heading) + ":\n" + itemLines(items);
    return text;
}

BasicSummary parseBasicSummary(std::string_view answer) {
    BasicSummary result;
    Items* list = nullptr; // null in the summary, and before all sections
    bool isInSummary = false;
    for (const std::string& untrimmed : text::split(answer, '\n')) {
        const std::string line = text::trimWhitespace(untrimmed);
        if (line.starts_with("## Summary") || line.starts_with("## Key Takeaway") ||
            line.starts_with("## Action Item")) {
            isInSummary = line.starts_with("## Summary");
            list = isInSummary ? nullptr : line.starts_with("## Key") ? &result.takeaways : &result.actionItems;
        } else if (isInSummary && !line.empty()) {
            extend(result.summary, line);
        } else if (list) {
            addItem(*list, line);
        }
    }
    return result;
}

} // namespace fenlo
