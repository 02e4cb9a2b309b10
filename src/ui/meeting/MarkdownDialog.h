#pragma once

#include "ui/parts/SaveDialog.h"

namespace fenlo {

/// Asks where a meeting is to be saved as Markdown.
inline void askForMarkdown(QWindow* above, QObject* owner, std::function<void(const std::string& file)> chosen) {
    askWhereToSave({"Export the Meeting", "Markdown (*.md)", "md", "meeting_notes.md"}, above, owner,
                   std::move(chosen));
}

} // namespace fenlo
