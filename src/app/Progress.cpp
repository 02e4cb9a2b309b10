#include "app/Progress.h"

#include "base/Clock.h"
#include "base/Descriptor.h"
#include "base/Environment.h"

#include <string_view>
#include <sys/ioctl.h>
#include <utility>

namespace fenlo {

namespace {

constexpr double drawInterval = 0.1; // seconds
constexpr int usualWidth = 80;
constexpr const char* eraseLine = "\r\x1b[K";

bool canRedraw(int descriptor) {
    const std::string terminal = environment("TERM");
    return ::isatty(descriptor) && !terminal.empty() && terminal != "dumb";
}

/// Asked each time, as the window may have changed. The last column stays free: some terminals wrap once it is filled.
int widthOf(int descriptor) {
    winsize size{};
    const bool told = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return (told ? size.ws_col : usualWidth) - 1;
}

} // namespace

Progress::Progress(Clock& clock, int descriptor)
    : m_clock(clock), m_descriptor(descriptor), m_isTerminal(canRedraw(descriptor)) {}

Progress::~Progress() {
    finish();
}

void Progress::bytes(const std::string& label, std::uint64_t received, std::uint64_t total) {
    const std::lock_guard lock(m_mutex);
    begin(label);
    m_state.received = received;
    m_state.total = total;
    m_meter.add(m_clock.now(), received);
    m_state.rate = m_meter.rate();
    draw();
}

void Progress::fraction(const std::string& label, double fraction) {
    const std::lock_guard lock(m_mutex);
    begin(label);
    m_state.fraction = fraction;
    draw();
}

void Progress::text(const std::string& label, const std::string& text) {
    const std::lock_guard lock(m_mutex);
    begin(label);
    m_state.text = text;
    draw();
}

void Progress::finish() {
    const std::lock_guard lock(m_mutex);
    erase();
}

void Progress::aside(const std::function<void()>& write) {
    const std::lock_guard lock(m_mutex);
    erase();
    write();
}

void Progress::begin(const std::string& label) {
    if (std::exchange(m_state.label, label) == label)
        return;
    m_state = {.label = label};
    m_meter = {};
    if (!m_isTerminal)
        writeAll(m_descriptor, progressLine(m_state, std::numeric_limits<int>::max()) + "...\n");
}

void Progress::draw() {
    const double now = m_clock.now();
    if (!m_isTerminal || now - m_lastDraw < drawInterval)
        return;
    writeAll(m_descriptor, "\r" + progressLine(m_state, widthOf(m_descriptor)) + "\x1b[K");
    m_lastDraw = now;
    m_isDrawn = true;
}

void Progress::erase() {
    if (m_isDrawn)
        writeAll(m_descriptor, eraseLine);
    m_isDrawn = false;
}

} // namespace fenlo
