#pragma once

#include "base/MainQueue.h"

namespace fenlo {

class AudioRecorder;
class Config;
class DictationSession;
class MeetingModeController;
class MenuBarController;
class OverlayWindow;

/// Begins and ends meetings as the user asks, which never run beside a dictation, and shows them in tray, menu and
/// pill.
///
/// Threads: main thread only.
class MeetingControl {
public:
    /// All outlive the control.
    struct Services {
        Config& config;
        MainQueue& mainQueue;
        AudioRecorder& recorder;
        DictationSession& dictation;
        OverlayWindow& overlay;
        MenuBarController& menuBar;
        MeetingModeController& meetings;
    };

    explicit MeetingControl(Services services) : m_services(services) {}
    MeetingControl(const MeetingControl&) = delete;
    MeetingControl& operator=(const MeetingControl&) = delete;

    bool isActive() const;
    /// Refused while a dictation is recorded or processed.
    void start();
    /// Ends the running meeting, saves it, and has its notes made.
    void stop();
    /// The program ends: the same, but for the notes, which its next start makes.
    void stopForQuit();
    /// Makes room for a new meeting: what is shown of an ended one goes, unless something is still to come of it.
    void clearEnded();
    /// A dictation was asked for in the middle of a meeting.
    void refuseDictation();
    /// An interrupted meeting is in the archive now.
    void tellRecovered();
    /// It has got its notes.
    void tellRecoveredNotes();

private:
    bool end();
    void tellRecovery(const char* line);
    void showPill();
    void showTime();
    void notice(const char* line);

    Services m_services;
    Timer m_pillTimer;
    Timer m_pillAgain;
    int m_ticks = 0;
};

} // namespace fenlo
