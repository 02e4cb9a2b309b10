#include "app/Commands.h"
#include "app/TriggerOrder.h"
#include "platform/Trigger.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace fenlo {

Command addTriggerCommand(CLI::App& cli) {
    const auto word = std::make_shared<std::string>();
    CLI::App& command = *cli.add_subcommand("trigger", "Steer the running program, for shortcuts of the desktop's own");
    std::vector<std::string> words;
    for (const NamedTrigger& each : triggers)
        words.emplace_back(each.name);
    command.add_option("WORD", *word, "press, release, toggle, command or cancel")
        ->required()
        ->check(CLI::IsMember(words));
    command.footer("press and release are the dictation key going down and up; toggle begins a dictation that goes on\n"
                   "until the next toggle; command makes the one under way a command, as Space does; cancel drops it.\n"
                   "`fenlo-trigger WORD` does the same and starts faster. See docs/wayland.md for each desktop.");
    return {&command, [word] { return orderTrigger(*word); }};
}

} // namespace fenlo
