// The stand-in recogniser as a program, for the desktop tests and for the show on a machine without a key.

#include "base/Files.h"
#include "base/Text.h"
#include "support/LoopbackRecogniser.h"
#include "support/StandInProgram.h"

#include <CLI/CLI.hpp>
#include <memory>

using fenlo::test::LoopbackRecogniser;

namespace {

std::string describe(std::size_t number, const LoopbackRecogniser::Received& received) {
    const std::size_t audio = received.field("file").value_or("").size();
    return "request " + std::to_string(number) + ": " + std::to_string(audio / 1024) + " KB of audio, model " +
           received.field("model").value_or("none") + ", connection reused=" + (received.wire.reused ? "yes" : "no");
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app(
        "A stand-in for the cloud speech service on the loopback address. It recognises nothing and answers a\n"
        "fixed text; POST /control and GET /control/requests change and watch it.");
    std::uint16_t port = 0;
    std::string portFile;
    std::string textFile;
    LoopbackRecogniser::Behaviour behaviour;
    app.add_option("--port", port, "port to listen on; 0 chooses a free one");
    app.add_option("--port-file", portFile, "file to write the port to once it is open");
    const auto text = app.add_option("--text", behaviour.text, "the text to answer");
    app.add_option("--text-file", textFile, "file that holds the text to answer")
        ->excludes(text)
        ->check(CLI::ExistingFile);
    app.add_option("--mode", behaviour.mode, "how to answer")->check(CLI::IsMember(LoopbackRecogniser::modes()));
    app.add_option("--delay", behaviour.delay, "seconds to wait before an answer");
    CLI11_PARSE(app, argc, argv);
    if (!textFile.empty())
        behaviour.text = fenlo::text::trimWhitespaceAndNewlines(fenlo::files::read(textFile).value_or(""));

    return fenlo::test::runStandIn("loopback-recogniser", portFile, [&] {
        auto recogniser = std::make_unique<LoopbackRecogniser>(
            behaviour, port, [](std::size_t number, const LoopbackRecogniser::Received& received) {
                fenlo::test::printLine(describe(number, received));
            });
        fenlo::test::printLine("stand-in recogniser on " + recogniser->server().url() +
                               ": it answers a fixed text and recognises nothing");
        return recogniser;
    });
}
