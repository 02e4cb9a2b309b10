#include "Version.h"
#include "app/Commands.h"
#include "app/StandardOutput.h"
#include "app/transcribe/TranscribeCommand.h"
#include "settings/ServiceKeys.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <sstream>

namespace fenlo {

namespace {

int runCommandLine(int argc, char** argv) {
    CLI::App cli("Fenlo: hold a key anywhere, speak, let go, and the words stand at the cursor.\n"
                 "Without a command it starts the desktop program.");
    cli.set_version_flag("--version", std::string("fenlo ") + version);
    cli.footer("Settings are in ~/.fenlo/config.json. Speech and text go to Groq with the key in " +
               std::string(serviceKey(CloudService::groq).variable) +
               ";\n"
               "`fenlo keys list` tells of the other services.\n"
               "When something does not work, run `fenlo doctor`.\n"
               "Exit status: 0 done, 1 failed, 2 wrong arguments, 3 no speech in the file,\n"
               "4 a damaged file, 130 interrupted.");
    cli.require_subcommand(0, 1);

    DictateOptions dictate;
    CLI::App* dictateCommand = cli.add_subcommand("dictate", "Turn an audio file into text, the way a take is");
    dictateCommand->add_option("FILE", dictate.file, "the recording: WAV, FLAC, Ogg, MP3; others with ffmpeg installed")
        ->required();
    dictateCommand->add_option("--app", dictate.application,
                               "treat the text as for this application, such as \"terminal\" or \"mail\"");
    dictateCommand->add_flag("--command", dictate.isCommand,
                             "the words are an instruction to the language model, as after Space during a take");
    dictateCommand->add_option("--selection", dictate.selection, "the selected text that the words are about");
    dictateCommand->add_flag("--json", dictate.json, "print a JSON object: kind, text, and how the take went");

    const std::function<int()> runTranscribe = addTranscribeCommand(cli);
    const CLI::App* transcribeCommand = cli.get_subcommand("transcribe");
    const std::string modelHelp = "a model's name or a part of it, or the path of a model's folder";

    CLI::App* modelsCommand = cli.add_subcommand("models", "The models of the engine on this machine");
    modelsCommand->require_subcommand(1);
    bool modelsJson = false;
    CLI::App* modelsList = modelsCommand->add_subcommand("list", "What is installed, and what can be downloaded");
    modelsList->add_flag("--json", modelsJson, "print a JSON list of the models");
    std::string modelName;
    CLI::App* modelsDownload = modelsCommand->add_subcommand("download", "Download a model and make it ready");
    modelsDownload->add_option("NAME", modelName, "a name or a part of it, such as \"small\"")->required();
    CLI::App* modelsRepair = modelsCommand->add_subcommand(
        "repair", "Check every file of a model, fetch again what is damaged or missing, and make it ready anew");
    modelsRepair->add_option("NAME", modelName, "a name or a part of it")->required();
    CLI::App* modelsRemove = modelsCommand->add_subcommand("remove", "Remove a model from this machine");
    modelsRemove->add_option("NAME", modelName, "the whole name, as `fenlo models list` shows it")->required();
    CLI::App* modelsPath = modelsCommand->add_subcommand("path", "Print the folder of a model, or of all models");
    modelsPath->add_option("NAME", modelName, "a name or a part of it");

    CLI::App* keysCommand = cli.add_subcommand("keys", "The keys of the services, in the desktop's keyring");
    keysCommand->require_subcommand(1);
    bool keysJson = false;
    CLI::App* keysList = keysCommand->add_subcommand("list", "Where each key is; never the key itself");
    keysList->add_flag("--json", keysJson, "print a JSON list");
    std::vector<std::string> names;
    for (const ServiceKey& service : serviceKeys())
        names.emplace_back(service.name);
    const CLI::IsMember serviceNames(names);
    std::string keyName;
    CLI::App* keysSet = keysCommand->add_subcommand("set", "Keep a key, which is read from standard input");
    keysSet->add_option("NAME", keyName, "of the service")->required()->check(serviceNames);
    CLI::App* keysRemove = keysCommand->add_subcommand("remove", "Take a key out of the keyring");
    keysRemove->add_option("NAME", keyName, "of the service")->required()->check(serviceNames);

    CLI::App* voiceProfileCommand = cli.add_subcommand(
        "voice-profile", "Learn your voice from a recording of you, so that other voices can be cut from takes");
    voiceProfileCommand->footer(
        "Read aloud for ten to twenty seconds, close to the microphone, in a quiet room and as you usually speak. The\n"
        "profile, some numbers about your voice, is stored in ~/.fenlo/voice_profile.json; the recording is not kept.\n"
        "Voice isolation then cuts other voices when \"voice_isolation\": true is set in ~/.fenlo/config.json. It goes "
        "by\n"
        "pitch above all: it tells a low voice from a high one, but hardly two voices that are alike.");
    std::filesystem::path voiceRecording;
    voiceProfileCommand
        ->add_option("FILE", voiceRecording,
                     "at least three seconds of your voice: WAV, FLAC, Ogg, MP3; others with ffmpeg installed")
        ->required();
    bool voiceProfileJson = false;
    voiceProfileCommand->add_flag("--json", voiceProfileJson, "print a JSON object: the profile, file, voiceIsolation");

    BenchOptions bench;
    CLI::App* benchCommand = cli.add_subcommand("bench", "Measure how fast the engine runs on this machine");
    benchCommand->add_option("--model", bench.model, modelHelp);
    benchCommand->add_option("--threads", bench.threads, "by default one for each core")->check(CLI::Range(0, 1024));
    benchCommand->add_flag("--float32", bench.float32, "measure the reference in 32-bit floats");
    benchCommand->add_flag("--json", bench.json, "print a JSON object");

    std::string checkedStep;
    CLI::App* engineCheckCommand = cli.add_subcommand("engine-check", "Try out the engine's instructions");
    engineCheckCommand->group(""); // Fenlo calls it itself
    engineCheckCommand->add_option("STEP", checkedStep, "one of the names of FENLO_ISA")->required();

    bool doctorJson = false;
    CLI::App* doctorCommand =
        cli.add_subcommand("doctor", "Tell what works on this desktop, and the remedy for what does not");
    doctorCommand->add_flag("--json", doctorJson, "print a JSON list of the checks");

    try {
        cli.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::ostringstream text; // of --help and --version; complaints go to standard error
        if (cli.exit(error, text) != 0)
            return exitStatus::usage;
        print(text.str());
        return exitStatus::ok;
    }
    if (*dictateCommand)
        return runDictate(dictate);
    if (*transcribeCommand)
        return runTranscribe();
    if (*modelsList)
        return runModelsList(modelsJson);
    if (*modelsDownload)
        return runModelsDownload(modelName);
    if (*modelsRepair)
        return runModelsRepair(modelName);
    if (*modelsRemove)
        return runModelsRemove(modelName);
    if (*modelsPath)
        return runModelsPath(modelName);
    if (*keysList)
        return runKeysList(keysJson);
    if (*keysSet)
        return runKeysSet(keyName);
    if (*keysRemove)
        return runKeysRemove(keyName);
    if (*voiceProfileCommand)
        return runVoiceProfile(voiceRecording, voiceProfileJson);
    if (*benchCommand)
        return runBench(bench);
    if (*engineCheckCommand)
        return runEngineCheck(checkedStep);
    if (*doctorCommand)
        return runDoctor(doctorJson);
    return runDesktopApp(argc, argv);
}

} // namespace

} // namespace fenlo

int main(int argc, char** argv) {
    using namespace fenlo;
    holdStandardStreams();
    std::signal(SIGPIPE, SIG_IGN); // a peer that hangs up is an error of that connection, not the end of the program
    try {
        return runCommandLine(argc, argv);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "fenlo: %s\n", error.what());
        return exitStatus::usage;
    } catch (const Interrupted& interruption) {
        std::fprintf(stderr, "fenlo: %s\n", interruption.what());
        return exitStatus::interrupted;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fenlo: %s\n", error.what());
        return exitStatus::failed;
    }
}
