#include "app/TriggerOrder.h"

#include "app/ExitStatus.h"
#include "platform/Trigger.h"
#include "platform/linux/control/ControlClient.h"
#include "platform/linux/control/ControlFile.h"

#include <cstdio>
#include <string_view>

namespace fenlo {

namespace {

constexpr double patience = 5.0; // seconds; at a paste the program is busy for up to two
constexpr std::string_view refusal = "error ";

int complainOf(std::string_view text) {
    std::fprintf(stderr, "fenlo: %.*s\n", static_cast<int>(text.size()), text.data());
    return exitStatus::failed;
}

} // namespace

int orderTrigger(const std::string& word) {
    if (!triggerNamed(word)) {
        complainOf("'" + word + "' is no trigger; it is one of press, release, toggle, command, cancel");
        return exitStatus::usage;
    }
    const ControlAnswer answer = order(controlFile(), word, patience);
    if (answer.state == ControlAnswer::State::notRunning)
        return complainOf("Fenlo is not running; start it from the applications menu, or with `fenlo`");
    if (answer.state == ControlAnswer::State::silent)
        return complainOf("Fenlo does not answer; end it with `pkill -x fenlo` and start it again");
    if (!answer.line.starts_with(refusal))
        return exitStatus::ok;
    return complainOf(std::string_view(answer.line).substr(refusal.size()));
}

} // namespace fenlo
