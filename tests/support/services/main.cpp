// The stand-in services as a program, for the desktop tests and for the show on a machine without a key.

#include "base/Files.h"
#include "base/Text.h"
#include "support/LoopbackServices.h"
#include "support/ServiceFaults.h"
#include "support/StandInProgram.h"

#include <CLI/CLI.hpp>
#include <memory>

using namespace fenlo::test;

namespace {

/// Without the query, which may hold a key.
std::string describe(const WireRequest& request) {
    return request.method + " " + request.target.substr(0, request.target.find('?')) + ": " +
           std::to_string(request.body.size() / 1024) + " KB, connection reused=" + (request.reused ? "yes" : "no");
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

    return runStandIn("loopback-services", portFile, [&] {
        auto services =
            std::make_unique<LoopbackServices>(port, [](const WireRequest& request) { printLine(describe(request)); });
        services->behave("speech", speech);
        printLine("stand-in services on " + services->server().url() +
                  ": they answer fixed texts and understand nothing");
        return services;
    });
}
