#pragma once

#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "platform/KeyEvents.h"
#include "platform/ResultCard.h"
#include "shell/PillContent.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

class Clock;
class Config;
class Workspace;

/// What the overlay works with. All outlive it.
struct OverlayServices {
    Config& config;
    Clock& clock;
    MainQueue& mainQueue;
    PillWindows& pills;
    ResultCards& cards;
    KeyEvents& keys; // its mouse-downs close the card
    Workspace& workspace;
    std::function<void(const std::string& text)> copy; // to the clipboard
};

/// The pill at the top of the screen, which shows what a dictation is doing, and the card for an answer without a text
/// field to go to. At most one of them is shown.
///
/// Threads: main thread only. The operations return at once and do their work on the main queue, in the order called.
class OverlayWindow {
public:
    explicit OverlayWindow(OverlayServices services);
    ~OverlayWindow();
    OverlayWindow(const OverlayWindow&) = delete;
    OverlayWindow& operator=(const OverlayWindow&) = delete;

    /// Whether the pill is wide enough for words from its beginning.
    enum class WordsRoom { none, kept };
    void showRecording(bool isReplacing, const std::string& appName, WordsRoom room = WordsRoom::none);
    /// The microphone is still waking up; showRecording() follows.
    void showWarming(bool isReplacing, const std::string& appName, WordsRoom room = WordsRoom::none);
    /// The end of these words stands in the room that the recording pill has for them; without any they are ignored.
    void showWords(const std::string& words);
    void showProcessing();
    /// A take of so many seconds is tried again: a new pill that looks as after showProcessing().
    void showRetrying(double seconds, const std::string& appName);
    /// Shows short lines for two seconds each, and hides then.
    void showNotice(std::vector<std::string> lines);
    void showChunkProgress(int current, int total);
    /// Adds the "AI" badge to the running pill.
    void showCommandMode();
    void showResult(const std::string& text);
    bool isResultShown() const { return m_mode == Mode::result; }
    void showMeeting();
    void updateMeetingTime(double seconds);
    /// Fades out what is shown; the next show opens a new window.
    void hide();

    /// The user clicked the cancel offer of a slow job.
    std::function<void()> onCancel;

private:
    enum class Mode { hidden, recording, warming, processing, notice, meeting, result };

    template <typename Task>
    void enqueue(Task task);

    std::string applicationLabel(const std::string& appName) const;
    void showLine(std::vector<std::string> lines, std::size_t index);
    void setProcessing(std::string displayText, Colour textColour);
    void open(Mode mode, PillContent content, double extraWidth);
    void draw();
    double widthToFit() const;
    void resize(double width, double seconds);
    void tick();
    void pulse();
    void offerCancel();
    ResultCardContent cardContent(const std::string& text);
    void dropWindows();

    OverlayServices m_services;
    MeasureText m_measure;
    Mode m_mode = Mode::hidden;
    std::unique_ptr<PillWindow> m_pill;
    std::unique_ptr<ResultCard> m_card;
    PillContent m_content;
    double m_width = 0; // points, without the room for the cancel offer
    double m_pulseDirection = -1;
    bool m_expanded = false;                 // the cancel offer was made
    std::optional<double> m_recordStart;     // seconds of Clock::now()
    std::optional<double> m_processingStart; // seconds of Clock::now()
    Timer m_timer;                           // only while the pill is shown
    Timer m_notice;                          // only while a line of a notice is shown
    Lifetime m_lifetime;
};

} // namespace fenlo
