#pragma once

#include "text/FocusContext.h"

namespace fenlo {

class Accessibility;
class Clock;
class Pasteboard;
class Workspace;

/// Reads where the user is about to dictate.
///
/// Threads: main thread. read() never takes longer than `timeLimit`, whatever the application in front does.
/// Errors:  what does not come in time stays empty.
class ContextReader {
public:
    using Context = FocusContext;

    static constexpr double timeLimit = 0.150; // seconds, for everything together

    ContextReader(Workspace& workspace, Accessibility& accessibility, Pasteboard& pasteboard, const Clock& clock);

    Context read();

private:
    Workspace& m_workspace;
    Accessibility& m_accessibility;
    Pasteboard& m_pasteboard;
    const Clock& m_clock;
};

} // namespace fenlo
