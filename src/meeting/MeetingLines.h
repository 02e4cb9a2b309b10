#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

/// The marks of a meeting's file, which its writer and its reader share.
namespace fenlo::meetingLines {

enum class Heading { summary, keyDecisions, actionItems, discussionPoints, followUps };
/// In the order of Heading.
inline constexpr std::array<std::string_view, 5> headings{"## Summary", "## Key Decisions", "## Action Items",
                                                          "## Discussion Points", "## Follow-ups"};
inline constexpr std::string_view myNotes = "## My Notes";
inline constexpr std::string_view transcript = "## Transcript";
inline constexpr std::string_view metadataStart = "<!-- FENLO_META";
inline constexpr std::string_view metadataEnd = "FENLO_META -->";
inline constexpr std::string_view segmentStart = "**[";
inline constexpr std::string_view bookmarkMark = " \u2B50";

/// Calls `use` with each line, as parts of the text; there is always one more than there are line feeds.
template <typename Use>
void forEachLine(std::string_view text, Use use) {
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
        use(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    use(text);
}
std::vector<std::string_view> split(std::string_view text);
/// Without blanks and tabs at both ends.
inline std::string_view trimmed(std::string_view line) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!line.empty() && isBlank(line.front()))
        line.remove_prefix(1);
    while (!line.empty() && isBlank(line.back()))
        line.remove_suffix(1);
    return line;
}
/// With blanks in place of line feeds.
std::string oneLine(std::string text);

/// Whether a trimmed line begins with one of the five headings.
bool beginsNotes(std::string_view line);
/// Whether a trimmed line ends the notes: the user's own, the transcript or the metadata begin.
bool endsNotes(std::string_view line);

} // namespace fenlo::meetingLines
