#include "meeting/ArchivedNotes.h"

#include "base/Text.h"
#include "meeting/MeetingLines.h"

#include <algorithm>

namespace fenlo {

namespace {

using namespace meetingLines;

/// What a backslash shelters; those that are there already do not count.
std::string_view withoutBackslashes(std::string_view line) {
    return line.substr(std::min(line.find_first_not_of('\\'), line.size()));
}

/// Whether a trimmed line of the user's would be read as a part of the file itself, or would hide what follows from
/// viewers.
bool looksLikeStructure(std::string_view line) {
    line = withoutBackslashes(line);
    return line.starts_with("<!--") || beginsNotes(line) || endsNotes(line);
}

/// The same for a summary, which has no headings.
bool looksLikeHeading(std::string_view line) {
    line = withoutBackslashes(line);
    return line.starts_with("<!--") || line.starts_with('#');
}

/// With a backslash before the lines that need one.
template <typename Needs>
std::string shelteredWhere(std::string_view typed, Needs needs) {
    std::string text;
    forEachLine(typed, [&](std::string_view line) {
        const std::size_t indentation = std::min(line.find_first_not_of(" \t"), line.size());
        text.append(line.substr(0, indentation)).append(needs(trimmed(line)) ? "\\" : "");
        text.append(line.substr(indentation)).append("\n");
    });
    text.pop_back();
    return text;
}

std::string listOf(const std::vector<std::string>& items, std::string_view mark) {
    std::string text;
    for (const std::string& item : items)
        text.append(mark).append(oneLine(item)).append("\n");
    return text;
}

/// A second blank, which Markdown does not show, tells a heading of the model's from the file's own.
std::string headingLine(const EnhancedMeetingNotes::Section& section) {
    const std::string line = "## " + oneLine(section.heading);
    return beginsNotes(line) || endsNotes(line) ? "##  " + oneLine(section.heading) : line;
}

/// Goes through the lines of a file and collects the notes. Headings among the user's own notes are the user's.
class SectionReader {
public:
    void read(std::string_view line) {
        if (line.empty())
            return;
        if (line.starts_with("# ") && !m_areUsers)
            m_notes.title = line.substr(2);
        else if (line.starts_with("## ") || line.starts_with(metadataStart))
            enter(line);
        else if (m_isSummary)
            addToSummary(line);
        else if (m_items && line.starts_with("- "))
            m_items->emplace_back(line.substr(m_areTasks && line.starts_with("- [ ] ") ? 6 : 2));
    }

    std::optional<EnhancedMeetingNotes> notes() {
        if (m_notes == EnhancedMeetingNotes())
            return {};
        std::erase_if(m_notes.additionalSections, [](const auto& section) { return section.items.empty(); });
        return std::move(m_notes);
    }

private:
    void enter(std::string_view line) {
        m_items = nullptr;
        const auto heading = std::ranges::find(headings, line);
        const auto is = [&](Heading it) { return heading == headings.begin() + static_cast<std::ptrdiff_t>(it); };
        m_isSummary = is(Heading::summary);
        m_areTasks = is(Heading::actionItems);
        m_areUsers = line == myNotes || (m_areUsers && heading == headings.end() && !endsNotes(line));
        if (is(Heading::keyDecisions))
            m_items = &m_notes.keyDecisions;
        else if (m_areTasks)
            m_items = &m_notes.actionItems;
        else if (is(Heading::discussionPoints))
            m_items = &m_notes.discussionPoints;
        else if (is(Heading::followUps))
            m_items = &m_notes.followUps;
        else if (!m_isSummary && !m_areUsers && line != transcript && !line.starts_with(metadataStart))
            m_items = &begin(trimmed(line.substr(3))).items;
    }

    EnhancedMeetingNotes::Section& begin(std::string_view heading) {
        EnhancedMeetingNotes::Section& section = m_notes.additionalSections.emplace_back();
        section.heading = heading;
        return section;
    }

    void addToSummary(std::string_view line) {
        if (line.starts_with('\\') && looksLikeHeading(line))
            line.remove_prefix(1);
        if (!m_notes.summary.empty())
            m_notes.summary += ' ';
        m_notes.summary += line;
    }

    EnhancedMeetingNotes m_notes;
    bool m_isSummary = false;
    bool m_areTasks = false;
    bool m_areUsers = false;
    std::vector<std::string>* m_items = nullptr; // of the current section
};

/// The file without the sections of its notes. In the transcript nothing is taken for notes; where somebody removed its
/// heading, a segment ends them.
std::vector<std::string_view> withoutNotes(std::string_view content) {
    const std::vector<std::string_view> lines = split(content);
    const bool hasHeading = std::ranges::any_of(
        lines, [](auto line) { return line.starts_with(transcript); }, trimmed);
    std::vector<std::string_view> kept;
    bool isDropping = false;
    bool isTranscript = false;
    for (const std::string_view line : lines) {
        const std::string_view text = trimmed(line);
        isTranscript |= text.starts_with(transcript);
        if (isTranscript || endsNotes(text) || (!hasHeading && text.starts_with(segmentStart)))
            isDropping = false;
        else if (beginsNotes(text))
            isDropping = true;
        if (!isDropping)
            kept.push_back(line);
    }
    return kept;
}

} // namespace

std::string sheltered(std::string_view typed) {
    return shelteredWhere(typed, looksLikeStructure);
}

std::string notesAsSections(const EnhancedMeetingNotes& notes, NotesSections sections) {
    std::string text;
    const auto add = [&](Heading heading, const std::string& content) {
        if (!content.empty())
            text.append(headings[static_cast<std::size_t>(heading)]).append("\n\n").append(content).append("\n");
    };
    add(Heading::summary, notes.summary.empty() ? "" : shelteredWhere(notes.summary, looksLikeHeading) + "\n");
    add(Heading::keyDecisions, listOf(notes.keyDecisions, "- "));
    add(Heading::actionItems, listOf(notes.actionItems, "- [ ] "));
    add(Heading::discussionPoints, listOf(notes.discussionPoints, "- "));
    add(Heading::followUps, listOf(notes.followUps, "- "));
    if (sections == NotesSections::all)
        for (const auto& section : notes.additionalSections)
            text += headingLine(section) + "\n\n" + listOf(section.items, "- ") + "\n";
    return text;
}

std::optional<EnhancedMeetingNotes> notesInSections(std::string_view content) {
    SectionReader reader;
    bool hasHeading = false;
    forEachLine(content, [&](std::string_view line) {
        line = trimmed(line);
        hasHeading = hasHeading || beginsNotes(line);
        reader.read(line);
    });
    return hasHeading ? reader.notes() : std::nullopt;
}

std::string withNotes(std::string_view content, const EnhancedMeetingNotes& notes) {
    std::vector<std::string_view> lines = withoutNotes(content);
    const std::string sections = notesAsSections(notes, NotesSections::all);
    const std::vector<std::string_view> inserted = split(sections);
    lines.insert(std::ranges::find_if(lines, endsNotes, trimmed), inserted.begin(), inserted.end());
    std::string text;
    for (const std::string_view line : lines)
        text.append(line).append("\n");
    text.pop_back();
    return text;
}

} // namespace fenlo
