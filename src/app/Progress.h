#pragma once

#include "app/ProgressLine.h"

#include <functional>
#include <limits>
#include <mutex>
#include <string>
#include <unistd.h>

namespace fenlo {

class Clock;

/// Tells on standard error how a long piece of work goes: on a terminal one line that is drawn again in place, at most
/// ten times a second; elsewhere a plain line when a piece of work begins.
///
/// It changes no mode of the terminal. The destructor erases the line, so a command that a signal may end ends by
/// TerminationSignals and a stop token.
///
/// Threads: any.
/// Errors:  none; what cannot be written is lost.
class Progress {
public:
    static constexpr int nowhere = -1; // a descriptor: nothing is told

    explicit Progress(Clock& clock, int descriptor = STDERR_FILENO);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// A download. `received` may begin above zero, where an earlier attempt has left something.
    void bytes(const std::string& label, std::uint64_t received, std::uint64_t total);
    /// How far the work is, and what was heard so far. Under the same label each leaves the other as it was.
    void fraction(const std::string& label, double fraction);
    void text(const std::string& label, const std::string& text);

    /// Erases the line, so that others can write to the terminal. The next step draws it again.
    void finish();
    /// Erases the line and writes something else, such as a line of a result, while no step is drawn in between.
    void aside(const std::function<void()>& write);

private:
    void begin(const std::string& label);
    void draw();
    void erase();

    Clock& m_clock;
    const int m_descriptor;
    const bool m_isTerminal;
    std::mutex m_mutex;
    ProgressState m_state;
    RateMeter m_meter;
    double m_lastDraw = -std::numeric_limits<double>::infinity();
    bool m_isDrawn = false;
};

} // namespace fenlo
