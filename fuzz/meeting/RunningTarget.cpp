// What a running meeting left behind: any bytes of its journal and its state can be read, what is read makes a file,
// and words that are appended behind damage are found.

#include "fuzz/Require.h"
#include "meeting/MeetingMarkdown.h"
#include "meeting/RunningJournal.h"

#include <cmath>
#include <cstdint>

using namespace fenlo;

namespace {

constexpr std::string_view separator = "\n====\n"; // between journal and state

void checkEvents(const runningJournal::Events& events) {
    for (const auto& [number, chunk] : events.chunks)
        require(number >= 0 && chunk.speaker >= 0 && chunk.failures >= 0 && std::isfinite(chunk.timestamp));
    for (const TranscriptSegment& segment : events.segments) {
        requireUtf8(segment.text);
        require(events.chunks.at(segment.index).isFinished && segment.timestamp >= 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = input.find(separator);
    const std::string journal(input.substr(0, end));
    const runningJournal::Events events = runningJournal::eventsIn(journal);
    checkEvents(events);

    MeetingRecord record;
    if (end != std::string_view::npos)
        runningJournal::readState(input.substr(end + separator.size()), record);
    const MeetingRecord before = record;
    runningJournal::readState(runningJournal::stateOf(record), record);
    require(record.date == before.date && record.subject == before.subject && record.bookmarks == before.bookmarks &&
            record.speakerNames == before.speakerNames && record.userNotes == before.userNotes);
    record.segments = events.segments;
    requireUtf8(buildMarkdown(record) + metadataBlock(record));

    const int next = events.chunks.empty() ? 0 : events.chunks.rbegin()->first + 1;
    const std::string line = runningJournal::segmentLine({"", next, 1.5, "said \"so\"\n", speakerAt(1)});
    const runningJournal::Events after = runningJournal::eventsIn(journal + "\n" + line + "\n");
    require(after.segments.size() == events.segments.size() + 1 && after.segments.back().text == "said \"so\"\n");
    return 0;
}
