#pragma once

#include <string_view>

namespace fenlo {

/// Why a take failed.
enum class TakeFault {
    keyMissing,
    keyRefused,
    quotaUsedUp,
    recordingRefused,
    serviceOutOfOrder,
    serviceSilent,
    serviceUntrusted,
    answerUnreadable,
    engineFailed,
    noSoundServer,
    noMicrophone,
    microphoneRefused,
    microphoneSilent,
    noSpace,
    ownFault,
};

/// One short line for the pill and the menu.
std::string_view describe(TakeFault fault);

/// What the pill says about a take that can be tried again.
inline constexpr char keptLine[] = "Kept. Try again from the menu";

} // namespace fenlo
