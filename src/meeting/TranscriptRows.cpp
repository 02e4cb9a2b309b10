#include "meeting/TranscriptRows.h"

#include "shell/ElapsedText.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

constexpr std::string_view faultText = "[Transcription failed]"; // in old transcripts

TranscriptRows::Row liveRow(const TranscriptSegment& segment, const TranscriptRows::Live& live) {
    const auto name = live.names.find(segment.speaker.id);
    return {.index = segment.index,
            .speakerId = segment.speaker.id,
            .initial = segment.speaker.initial,
            .hue = segment.speaker.color.hue,
            .speaker = name == live.names.end() ? segment.speaker.label : name->second,
            .time = elapsedText(segment.timestamp),
            .text = segment.text,
            .isStarred = live.bookmarks.contains(segment.index),
            .isFault = segment.text == faultText,
            .isEditing = live.editing == segment.index};
}

TranscriptRows::Row pastRow(const PastMeetingSegment& segment, const PastMeeting& meeting) {
    const Speaker speaker = speakerAt(segment.speakerIndex);
    return {.speakerId = segment.speakerIndex,
            .initial = speaker.initial,
            .hue = speaker.color.hue,
            .speaker = segment.speakerLabel,
            .time = segment.timestamp,
            .text = segment.text,
            .isStarred = meeting.bookmarkedTimestamps.contains(segment.timestamp),
            .isFault = segment.text == faultText};
}

} // namespace

void TranscriptRows::follow(const Live& live) {
    const std::string first = live.segments.empty() ? "" : live.segments.front().id;
    if (first != m_firstSegment || live.segments.size() < m_followed)
        return restart(live);
    if (live.names != m_names || live.bookmarks != m_bookmarks || live.editing != m_editing)
        refresh(live);
    for (; m_followed < live.segments.size(); ++m_followed)
        insert(live.segments[m_followed], live);
}

/// What the user has done: seldom, and to few rows but for a name.
void TranscriptRows::refresh(const Live& live) {
    remember(live);
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        Row now = m_rows[row];
        const auto name = live.names.find(now.speakerId);
        now.speaker = name == live.names.end() ? speakerAt(now.speakerId).label : name->second;
        now.isStarred = live.bookmarks.contains(now.index);
        now.isEditing = live.editing == now.index;
        if (now == m_rows[row])
            continue;
        m_rows[row] = std::move(now);
        tell(Edit::Kind::updated, row, 1);
    }
}

void TranscriptRows::remember(const Live& live) {
    m_names = live.names;
    m_bookmarks = live.bookmarks;
    m_editing = live.editing;
}

void TranscriptRows::restart(const Live& live) {
    remember(live);
    m_rows.clear();
    for (const TranscriptSegment& segment : live.segments)
        m_rows.push_back(liveRow(segment, live));
    std::ranges::stable_sort(m_rows, {}, &Row::index);
    m_followed = live.segments.size();
    m_firstSegment = live.segments.empty() ? "" : live.segments.front().id;
    tell(Edit::Kind::reset, 0, m_rows.size());
}

void TranscriptRows::insert(const TranscriptSegment& segment, const Live& live) {
    const auto place = std::ranges::upper_bound(m_rows, segment.index, {}, &Row::index);
    const auto row = static_cast<std::size_t>(place - m_rows.begin());
    m_rows.insert(place, liveRow(segment, live));
    tell(Edit::Kind::inserted, row, 1);
}

void TranscriptRows::show(const PastMeeting& meeting) {
    std::vector<Row> rows;
    rows.reserve(meeting.segments.size());
    for (const PastMeetingSegment& segment : meeting.segments)
        rows.push_back(pastRow(segment, meeting));
    if (rows == m_rows)
        return;
    m_rows = std::move(rows);
    tell(Edit::Kind::reset, 0, m_rows.size());
}

void TranscriptRows::tell(Edit::Kind kind, std::size_t first, std::size_t count) const {
    if (m_onEdit)
        m_onEdit({kind, first, count});
}

} // namespace fenlo
