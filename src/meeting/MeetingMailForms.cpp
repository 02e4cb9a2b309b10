#include "base/Text.h"
#include "base/Url.h"
#include "meeting/MeetingMail.h"
#include "platform/MailProgram.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

using nlohmann::ordered_json;

/// Of a transcript, once percent-encoded: several programs and web mails drop more, and nobody reads it in a mail.
constexpr std::size_t maxTranscript = 32'000;

ordered_json notesObject(const MeetingMail::Notes& notes) {
    ordered_json object;
    object["title"] = notes.title;
    if (notes.summary)
        object["summary"] = *notes.summary;
    for (const MeetingMail::List& list : notes.lists)
        object[list.key] = list.items;
    if (!notes.additionalSections)
        return object;
    ordered_json sections = ordered_json::object();
    for (const auto& [heading, items] : *notes.additionalSections) {
        ordered_json& section = sections[heading]; // a heading that comes twice keeps the items of both
        for (const std::string& item : items)
            section.push_back(item);
    }
    object["additional_sections"] = std::move(sections);
    return object;
}

std::string paragraph(const std::string& heading, const std::string& text) {
    return text.empty() ? "" : "\n" + heading + "\n" + text + "\n";
}

std::string paragraph(const std::string& heading, const std::vector<std::string>& items) {
    return items.empty() ? "" : paragraph(heading, "- " + text::join(items, "\n- "));
}

std::string readableNotes(const MeetingMail& mail) {
    std::string text = mail.notes.title + "\n" + mail.meetingDate;
    if (!mail.duration.empty())
        text += " · " + mail.duration;
    text += "\n" + paragraph("Summary", mail.notes.summary.value_or(""));
    for (const MeetingMail::List& list : mail.notes.lists)
        text += paragraph(list.heading, list.items);
    if (mail.notes.additionalSections)
        for (const auto& [heading, items] : *mail.notes.additionalSections)
            text += paragraph(heading, items);
    return text + paragraph("My Notes", text::trimWhitespaceAndNewlines(mail.userNotes));
}

/// A line of a transcript, or of a meeting's file, without the marks of Markdown.
std::string plainLine(std::string line) {
    if (line.starts_with("**[")) {
        line.erase(0, 2);
        if (const auto end = line.find(":**"); end != std::string::npos)
            line.erase(end + 1, 2);
    } else if (line.starts_with("## ")) {
        line = "\n" + line.substr(3);
    } else if (line.starts_with("- [ ] ")) {
        line.erase(2, 4);
    }
    return line;
}

/// What was said under a heading of its own; the notes that a meeting's file has come before it under theirs.
std::string readableTranscript(const std::string& transcript) {
    if (transcript.empty())
        return {};
    std::vector<std::string> lines = text::split(transcript, '\n');
    std::ranges::transform(lines, lines.begin(), plainLine);
    const auto said = std::ranges::find_if(lines, [](const std::string& line) { return line.starts_with('['); });
    lines.insert(said, "\nTranscript");
    return text::join(lines, "\n") + "\n";
}

/// How long the text is in the address that a mail program is given, where a line ends in two signs.
std::size_t encodedSize(std::string_view text) {
    constexpr std::size_t sign = 3; // bytes
    return url::percentEncode(text, "").size() + sign * static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

/// So many bytes of the text as whole lines take, at most `limit` once encoded; of a first line that is longer, whole
/// characters.
std::size_t bytesWithin(std::string_view text, std::size_t limit) {
    std::size_t end = 0;
    std::size_t used = 0;
    while (end < text.size()) {
        const std::size_t next = std::min(text.find('\n', end), text.size() - 1) + 1;
        used += encodedSize(text.substr(end, next - end));
        if (used > limit)
            break;
        end = next;
    }
    if (end > 0)
        return end;
    used = 0;
    for (const std::string_view character : text::characters(text.substr(0, limit))) {
        used += encodedSize(character);
        if (used > limit)
            break;
        end += character.size();
    }
    return end;
}

ReadableMail cutAt(const std::string& text, std::size_t limit) {
    const std::size_t size = bytesWithin(text, limit);
    return {text.substr(0, size), size == text.size()};
}

std::string lineOnRest(const std::string& file) {
    return "\n\n[Cut here: " + (file.empty() ? "the rest is in Fenlo" : "the whole text is in the file " + file) +
           "]\n";
}

} // namespace

ordered_json requestBody(const MeetingMail& mail) {
    ordered_json body;
    body["email"] = mail.email;
    body["subject"] = mail.subject;
    body["notes"] = notesObject(mail.notes);
    body["meeting_date"] = mail.meetingDate;
    body["duration"] = mail.duration;
    if (!mail.userNotes.empty())
        body["user_notes"] = mail.userNotes;
    if (!mail.transcript.empty())
        body["transcript"] = mail.transcript;
    if (!mail.additionalRecipients.empty())
        body["additional_recipients"] = mail.additionalRecipients;
    return body;
}

ReadableMail readableMail(const MeetingMail& mail, const std::string& file) {
    constexpr std::size_t framing = 1000; // for the line on the rest
    const bool hasNotes = mail.notes.additionalSections.has_value();
    const std::string transcript = hasNotes ? "" : readableTranscript(mail.transcript);
    ReadableMail whole = cutAt(readableNotes(mail), maxMailText - maxTranscript - framing);
    if (whole.isWhole) {
        const ReadableMail cut = cutAt(transcript, maxTranscript);
        whole.text += cut.text;
        whole.isWhole = cut.isWhole;
    }
    if (!whole.isWhole)
        whole.text = text::trimWhitespaceAndNewlines(whole.text) + lineOnRest(file);
    return whole;
}

} // namespace fenlo
