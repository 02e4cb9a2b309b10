// The stand-in services as a program, for the desktop tests and for the show on a machine without a key or a cloud.

#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"
#include "support/LoopbackServices.h"
#include "support/ServiceFaults.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>
#include <mutex>
#include <nlohmann/json.hpp>

using namespace fenlo::test;

namespace {

/// Prints a whole line at once, on any thread.
void printLine(const std::string& line) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << line << std::endl;
}

/// Without the query, which may hold a key.
std::string describe(const WireRequest& request) {
    return request.method + " " + request.target.substr(0, request.target.find('?')) + ": " +
           std::to_string(request.body.size() / 1024) + " KB, connection reused=" + (request.reused ? "yes" : "no");
}

struct Options {
    std::uint16_t port = 0;
    std::string portFile;
    std::string deploymentFile;
    std::string packageFile;
    LoopbackServices::Behaviour speech;
};

void writeFile(const std::string& file, const std::string& content) {
    if (!file.empty() && !fenlo::files::writeAtomically(file, content + "\n"))
        throw std::runtime_error("cannot write " + file);
}

std::string package(const std::string& file) {
    if (file.empty())
        return {};
    const auto bytes = fenlo::files::read(file);
    return bytes ? *bytes : throw std::runtime_error("cannot read " + file);
}

/// Serves until the program is asked to end.
int serve(const Options& options) try {
    // Blocked before any thread starts, so that only the wait below gets them.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const auto tell = [](const WireRequest& request) { printLine(describe(request)); };
    LoopbackServices services(options.port, tell, package(options.packageFile));
    services.behave("speech", options.speech);
    printLine("stand-in services on " + services.server().url() + ": they answer fixed texts and understand nothing");
    writeFile(options.portFile, std::to_string(services.server().port()));
    writeFile(options.deploymentFile, fenlo::writeJson(services.deployment(), 2));
    if (!options.deploymentFile.empty())
        printLine("to use them: FENLO_DEPLOYMENT=" + options.deploymentFile + " scripts/run");
    int received = 0;
    sigwait(&signals, &received);
    return 0;
} catch (const std::exception& error) {
    std::cerr << "loopback-services: " << error.what() << std::endl;
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Stand-ins for the cloud services of speech and of language models, for the account with both ways to "
                 "sign in, and for the feed of updates, on one port of the loopback address.\n"
                 "They understand nothing and answer fixed texts; POST /control and GET /control/requests "
                 "change and watch them.");
    Options options;
    std::string textFile;
    LoopbackServices::Behaviour& speech = options.speech;
    app.add_option("--port", options.port, "port to listen on; 0 chooses a free one");
    app.add_option("--port-file", options.portFile, "file to write the port to once it is open");
    app.add_option("--deployment", options.deploymentFile,
                   "file to write a deployment to, with which Fenlo uses these services for everything");
    app.add_option("--package", options.packageFile, "file to offer as an update")->check(CLI::ExistingFile);
    const auto text = app.add_option("--text", speech.text, "what the speech service answers");
    app.add_option("--text-file", textFile, "file that holds what the speech service answers")
        ->excludes(text)
        ->check(CLI::ExistingFile);
    app.add_option("--mode", speech.mode, "how the speech service answers")->check(CLI::IsMember(serviceModes()));
    app.add_option("--delay", speech.delay, "seconds before the speech service answers");
    CLI11_PARSE(app, argc, argv);
    if (!textFile.empty())
        speech.text = fenlo::text::trimWhitespaceAndNewlines(fenlo::files::read(textFile).value_or(""));

    return serve(options);
}
