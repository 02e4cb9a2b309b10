#pragma once

#include "audio/OwnSounds.h"
#include "base/NotificationCenter.h"
#include "meeting/MeetingArchive.h"
#include "meeting/MeetingDelivery.h"
#include "meeting/MeetingModeController.h"
#include "meeting/MeetingNotesWriter.h"
#include "platform/linux/audio/PulseSystemAudio.h"
#include "platform/linux/desktop/session/XdgMailProgram.h"

namespace fenlo {

struct Account;
struct TakeServices;

/// What a meeting passes through on its way from sound to mail: one object of each. What is passed in outlives them.
struct Meetings {
    struct Surroundings {
        TakeServices& services;
        const Deployment& deployment;
        HttpClient& http;
        AudioOutput& audioOutput;
        Clock& clock;
        MainQueue& mainQueue;
        Background& background;
        NotificationCenter& notifications;
        Account& account;
    };

    explicit Meetings(const Surroundings& around);
    Meetings(const Meetings&) = delete;
    Meetings& operator=(const Meetings&) = delete;

    OwnSounds sounds; // the program plays through it, so that no meeting records what it plays
    PulseSystemAudio computer;
    WithoutOwnSounds systemAudio;
    MeetingArchive archive;
    MeetingNotesWriter writer;
    XdgMailProgram mailProgram;
    MeetingDelivery delivery;
    MeetingModeController controller;

private:
    NotificationCenter::Observation m_signedOut;
};

} // namespace fenlo
