#include "Version.h"
#include "app/Commands.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    using namespace fenlo;
    std::signal(SIGPIPE, SIG_IGN); // a peer that hangs up is an error of that connection, not the end of the program

    CLI::App cli("Fenlo: hold a key anywhere, speak, let go, and the words stand at the cursor.\n"
                 "Without a command it starts the desktop program.");
    cli.set_version_flag("--version", std::string("fenlo ") + version);
    cli.footer("Settings are in ~/.fenlo/config.json. The recogniser's key is taken from GROQ_API_KEY.\n"
               "When something does not work, run `fenlo doctor`.\n"
               "Exit status: 0 done, 1 failed, 2 wrong arguments, 3 no speech in the file.");
    cli.require_subcommand(0, 1);

    DictateOptions dictate;
    CLI::App* dictateCommand = cli.add_subcommand("dictate", "Turn an audio file into text, the way a take is");
    dictateCommand->add_option("FILE", dictate.file, "the recording: WAV, FLAC, Ogg, MP3; others with ffmpeg installed")
        ->required();
    dictateCommand->add_option("--app", dictate.application,
                               "treat the text as for this application, such as \"terminal\"");
    dictateCommand->add_flag("--json", dictate.json,
                             "print a JSON object: text, rawText, actions, duration, speechRatio");

    bool doctorJson = false;
    CLI::App* doctorCommand =
        cli.add_subcommand("doctor", "Tell what works on this desktop, and the remedy for what does not");
    doctorCommand->add_flag("--json", doctorJson, "print a JSON list of the checks");

    try {
        cli.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return cli.exit(error) == 0 ? exitStatus::ok : exitStatus::usage;
    }
    try {
        if (*dictateCommand)
            return runDictate(dictate);
        if (*doctorCommand)
            return runDoctor(doctorJson);
        return runDesktopApp(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fenlo: %s\n", error.what());
        return exitStatus::failed;
    }
}
