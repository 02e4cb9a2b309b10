#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace fenlo {

/// What is ordered in place of the dictation key, by a shortcut of the desktop's or by `fenlo trigger`.
enum class Trigger {
    press,   // the key goes down
    release, // the key goes up
    toggle,  // begins a dictation that goes on until the next one
    command, // makes the dictation under way a command, as Space does
    cancel,  // drops the dictation under way
};

struct NamedTrigger {
    std::string_view name;
    Trigger trigger;
};

inline constexpr std::array triggers{NamedTrigger{"press", Trigger::press}, NamedTrigger{"release", Trigger::release},
                                     NamedTrigger{"toggle", Trigger::toggle}, NamedTrigger{"command", Trigger::command},
                                     NamedTrigger{"cancel", Trigger::cancel}};

/// Nothing for another word.
constexpr std::optional<Trigger> triggerNamed(std::string_view name) {
    for (const NamedTrigger& each : triggers)
        if (each.name == name)
            return each.trigger;
    return std::nullopt;
}

/// What became of a trigger.
enum class TriggerOutcome {
    done,
    nothingUnderWay, // there was no dictation to end or to change
    notListening,    // nobody waits for the dictation key now
};

} // namespace fenlo
