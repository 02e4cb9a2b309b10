// The stand-in model hub as a program, for the desktop tests.

#include "base/Files.h"
#include "support/LoopbackHub.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <limits>

using namespace fenlo::test;

int main(int argc, char** argv) {
    CLI::App app(
        "A stand-in for the model hub on the loopback address: serves the folders \"publisher/name\" of FOLDER as "
        "repositories.\nOn SIGUSR1 downloads go on.");
    std::string folder;
    std::string portFile;
    std::uint64_t stallAfter = 0;
    app.add_option("--folder", folder)->required()->check(CLI::ExistingDirectory);
    app.add_option("--port-file", portFile, "file to write the port to once it is open")->required();
    app.add_option("--stall-after", stallAfter, "bytes of each file after which nothing more comes; 0 for all");
    CLI11_PARSE(app, argc, argv);

    // Blocked before any thread starts, so that only the wait below gets them.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGUSR1})
        sigaddset(&signals, number);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    LoopbackHub hub(folder);
    if (stallAfter > 0)
        hub.hit({"stall", false, stallAfter, std::numeric_limits<int>::max()});
    if (!fenlo::files::writeAtomically(portFile, std::to_string(hub.server().port()) + "\n")) {
        std::fprintf(stderr, "loopback-hub: cannot write %s\n", portFile.c_str());
        return 1;
    }
    int received = 0;
    while (sigwait(&signals, &received) == 0 && received == SIGUSR1)
        hub.goOn();
    return 0;
}
