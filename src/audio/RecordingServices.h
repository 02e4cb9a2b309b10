#pragma once

namespace fenlo {

class AudioInput;
class Background;
class Clock;
class Config;
class MainQueue;
class NotificationCenter;

/// What a screen with a recorder of its own stands on. All outlive the screen's model.
struct RecordingServices {
    AudioInput& input;
    Clock& clock;
    MainQueue& queue;
    Background& background;
    Config& config;
    NotificationCenter& notifications;
};

} // namespace fenlo
