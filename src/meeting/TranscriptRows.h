#pragma once

#include "meeting/Meeting.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace fenlo {

/// A transcript as the screens show it: a row for each segment, in the order of cutting. It follows a running meeting
/// by what has changed only, so that a list keeps its place in thousands of rows.
///
/// Threads: one thread only.
class TranscriptRows {
public:
    struct Row {
        int index = 0; // of the segment's chunk
        int speakerId = 0;
        std::string initial; // of the badge
        double hue = 0;      // of the badge, 0 to 1
        std::string speaker;
        std::string time; // "2:05"
        std::string text;
        bool isStarred = false;
        bool isFault = false;   // stands for words that are missing
        bool isEditing = false; // its speaker's name is being written

        bool operator==(const Row&) const = default;
    };

    /// What has happened to the rows, which are as they are after it.
    struct Edit {
        enum class Kind { reset, inserted, updated };
        Kind kind = Kind::reset;
        std::size_t first = 0;
        std::size_t count = 0;
    };

    /// A running or ended meeting, as far as its rows are made of it.
    struct Live {
        const std::vector<TranscriptSegment>& segments; // in the order in which their texts came
        const std::map<int, std::string>& names;        // by the speaker's id
        const std::set<int>& bookmarks;                 // indices of segments
        std::optional<int> editing;                     // the index of the segment whose speaker is being named
    };

    const std::vector<Row>& rows() const { return m_rows; }

    void follow(const Live& live);
    /// The transcript of the archive. Where it is the same again, nothing happens.
    void show(const PastMeeting& meeting);

    /// One list at a time follows the rows.
    void setOnEdit(std::function<void(const Edit&)> onEdit) { m_onEdit = std::move(onEdit); }

private:
    void restart(const Live& live);
    void refresh(const Live& live);
    void remember(const Live& live);
    void insert(const TranscriptSegment& segment, const Live& live);
    void tell(Edit::Kind kind, std::size_t first, std::size_t count) const;

    std::vector<Row> m_rows;
    std::size_t m_followed = 0;         // segments that have rows
    std::string m_firstSegment;         // tells one meeting from the next
    std::map<int, std::string> m_names; // as the rows show them, and so on
    std::set<int> m_bookmarks;
    std::optional<int> m_editing;
    std::function<void(const Edit&)> m_onEdit;
};

} // namespace fenlo
