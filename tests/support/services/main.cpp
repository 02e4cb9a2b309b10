// The stand-in services as a program, for the desktop tests and for the show on a machine without a key.

#include "base/Files.h"
#include "base/Text.h"
#include "support/LoopbackServices.h"
#include "support/ServiceFaults.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>
#include <mutex>

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

/// Serves until the program is asked to end.
int serve(std::uint16_t port, const std::string& portFile, const LoopbackServices::Behaviour& speech) try {
    // Blocked before any thread starts, so that only the wait below gets them.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    LoopbackServices services(port, [](const WireRequest& request) { printLine(describe(request)); });
    services.behave("speech", speech);
    printLine("stand-in services on " + services.server().url() + ": they answer fixed texts and understand nothing");
    if (!portFile.empty() && !fenlo::files::writeAtomically(portFile, std::to_string(services.server().port()) + "\n"))
        throw std::runtime_error("cannot write " + portFile);
    int received = 0;
    sigwait(&signals, &received);
    return 0;
} catch (const std::exception& error) {
    std::cerr << "loopback-services: " << error.what() << std::endl;
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Stand-ins for the cloud services of speech and of language models, on one port of the loopback "
                 "address.\nThey understand nothing and answer fixed texts; POST /control and GET /control/requests "
                 "change and watch them.");
    std::uint16_t port = 0;
    std::string portFile;
    std::string textFile;
    LoopbackServices::Behaviour speech;
    app.add_option("--port", port, "port to listen on; 0 chooses a free one");
    app.add_option("--port-file", portFile, "file to write the port to once it is open");
    const auto text = app.add_option("--text", speech.text, "what the speech service answers");
    app.add_option("--text-file", textFile, "file that holds what the speech service answers")
        ->excludes(text)
        ->check(CLI::ExistingFile);
    app.add_option("--mode", speech.mode, "how the speech service answers")->check(CLI::IsMember(serviceModes()));
    app.add_option("--delay", speech.delay, "seconds before the speech service answers");
    CLI11_PARSE(app, argc, argv);
    if (!textFile.empty())
        speech.text = fenlo::text::trimWhitespaceAndNewlines(fenlo::files::read(textFile).value_or(""));

    return serve(port, portFile, speech);
}
