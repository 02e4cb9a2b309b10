#include "app/CommandLine.h"

#include "app/Commands.h"
#include "app/ExitStatus.h"
#include "app/Packaging.h"
#include "app/StandardOutput.h"
#include "settings/ServiceKeys.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <sstream>
#include <string>
#include <vector>

namespace fenlo {

namespace {

using AddCommand = Command (*)(CLI::App&);

/// In the order of --help.
constexpr AddCommand contents[] = {addDictateCommand, addTranscribeCommand,   addMeetingCommand, addModelsCommand,
                                   addKeysCommand,    addVoiceProfileCommand, addBenchCommand,   addEngineCheckCommand,
                                   addTriggerCommand, addDoctorCommand};

std::string footer() {
    return std::string("Settings are in ~/.fenlo/config.json. Speech and text go to Groq with the key in ") +
           serviceKey(CloudService::groq).variable +
           ";\n"
           "`fenlo keys list` tells of the other services.\n"
           "When something does not work, run `fenlo doctor`.\n"
           "Exit status: 0 done, 1 failed, 2 wrong arguments, 3 no speech in the file,\n"
           "4 a damaged file, 130 interrupted.";
}

int runChosen(int argc, const char* const* argv, const std::function<int()>& withoutCommand) {
    CLI::App cli;
    const std::vector<Command> commands = addAllCommands(cli);
    try {
        cli.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream text; // of --help and --version; complaints go to standard error
        if (cli.exit(error, text) != 0)
            return exitStatus::usage;
        print(text.str());
        return exitStatus::ok;
    }
    for (const Command& command : commands)
        if (*command.parsed)
            return command.run();
    return withoutCommand();
}

int complain(const std::exception& error, int status) {
    std::fprintf(stderr, "fenlo: %s\n", error.what());
    return status;
}

} // namespace

std::vector<Command> addAllCommands(CLI::App& cli) {
    cli.name("fenlo");
    cli.description("Fenlo: hold a key anywhere, speak, let go, and the words stand at the cursor.\n"
                    "Without a command it starts the desktop program.");
    cli.set_version_flag("--version", versionText);
    cli.footer(footer());
    cli.require_subcommand(0, 1);
    std::vector<Command> commands;
    for (const AddCommand add : contents)
        commands.push_back(add(cli));
    return commands;
}

int runCommandLine(int argc, const char* const* argv, const std::function<int()>& withoutCommand) try {
    return runChosen(argc, argv, withoutCommand);
} catch (const UsageError& error) {
    return complain(error, exitStatus::usage);
} catch (const Interrupted& interruption) {
    return complain(interruption, exitStatus::interrupted);
} catch (const std::exception& error) {
    return complain(error, exitStatus::failed);
}

} // namespace fenlo
