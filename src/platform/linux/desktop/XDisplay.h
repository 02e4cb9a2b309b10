#pragma once

#include <atomic>
#include <memory>

typedef struct _XDisplay Display;

namespace fenlo {

/// A connection to the X server that survives the loss of the server: the process goes on, and every call on the lost
/// connection does nothing.
///
/// Threads:  one at a time; isLost() on any.
/// Lifetime: destroyed on the thread that used it last.
class XDisplay {
public:
    /// Connects to the server that DISPLAY names; nothing when there is none.
    static std::unique_ptr<XDisplay> open();
    ~XDisplay();
    XDisplay(const XDisplay&) = delete;
    XDisplay& operator=(const XDisplay&) = delete;

    Display* get() const { return m_display; }
    bool isLost() const { return m_lost; }

    /// Says in the log that the server is gone, once for the process. Every connection notices the loss by itself; the
    /// toolkit's then ends the process.
    ///
    /// Threads: any.
    static void tellLoss();

private:
    explicit XDisplay(Display* display);

    Display* const m_display;
    std::atomic<bool> m_lost = false;
};

} // namespace fenlo
