#include "shell/TakeFault.h"

#include <cstdlib>

namespace fenlo {

std::string_view describe(TakeFault fault) {
    switch (fault) {
    case TakeFault::keyMissing:
        return "No key for the service";
    case TakeFault::keyRefused:
        return "Key refused";
    case TakeFault::quotaUsedUp:
        return "Quota used up";
    case TakeFault::recordingRefused:
        return "Service refused the recording";
    case TakeFault::serviceOutOfOrder:
        return "Service out of order";
    case TakeFault::serviceSilent:
        return "Service does not answer";
    case TakeFault::serviceUntrusted:
        return "Service cannot prove who it is";
    case TakeFault::answerUnreadable:
        return "Service's answer is unreadable";
    case TakeFault::engineFailed:
        return "Recognition on this machine failed";
    case TakeFault::noSoundServer:
        return "No sound server";
    case TakeFault::noMicrophone:
        return "No microphone";
    case TakeFault::microphoneRefused:
        return "Microphone refused";
    case TakeFault::microphoneSilent:
        return "Microphone sends nothing";
    case TakeFault::noSpace:
        return "No space in the temporary folder";
    case TakeFault::ownFault:
        return "Something went wrong; see the log";
    }
    std::abort();
}

} // namespace fenlo
