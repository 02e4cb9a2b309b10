#pragma once

#include <string>

namespace fenlo {

class AutoUpdater;

/// What the window of updates says, for the stage that the updater is in.
///
/// Threads: main thread.
struct UpdateWords {
    std::string title;
    std::string text;  // below it; may be empty
    std::string notes; // what is new; empty where that is not shown

    static UpdateWords of(const AutoUpdater& updater);
};

} // namespace fenlo
