// The stand-in model hub as a program, to try downloads by hand.

#include "support/LoopbackHub.h"
#include "support/StandInProgram.h"

#include <CLI/CLI.hpp>
#include <limits>
#include <memory>

using fenlo::test::LoopbackHub;

int main(int argc, char** argv) {
    CLI::App app("A stand-in for the model hub on the loopback address: serves the folders FOLDER/publisher/name as\n"
                 "repositories. Point a client at it with HF_ENDPOINT.");
    std::string folder;
    std::uint16_t port = 0;
    std::string portFile;
    std::string token;
    LoopbackHub::Fault fault;
    fault.times = std::numeric_limits<int>::max();
    app.add_option("FOLDER", folder, "folder that holds the repositories")->required()->check(CLI::ExistingDirectory);
    app.add_option("--port", port, "port to listen on; 0 chooses a free one");
    app.add_option("--port-file", portFile, "file to write the port to once it is open");
    app.add_option("--token", token, "the only token that is let in");
    app.add_option("--fault", fault.mode, "what goes wrong")->check(CLI::IsMember(LoopbackHub::modes()));
    app.add_flag("--in-listing", fault.inListing, "the fault hits listings instead of files");
    app.add_option("--after", fault.after, "bytes of a file that come before the fault");
    app.add_option("--times", fault.times, "requests that the fault hits");
    app.add_option("--status", fault.status, "the status of the fault \"status\"");
    CLI11_PARSE(app, argc, argv);

    return fenlo::test::runStandIn("loopback-hub", portFile, [&] {
        auto hub = std::make_unique<LoopbackHub>(folder, port);
        hub->setToken(token);
        if (!fault.mode.empty())
            hub->hit(fault);
        fenlo::test::printLine("stand-in hub on " + hub->server().url() + ", large files on " + hub->storage().url());
        return hub;
    });
}
