#include "app/CommandLine.h"
#include "app/CoreFiles.h"
#include "app/DesktopApp.h"
#include "app/StandardOutput.h"

#include <csignal>

int main(int argc, char** argv) {
    fenlo::holdStandardStreams();
    fenlo::leaveNoCoreFiles();
    std::signal(SIGPIPE, SIG_IGN); // a peer that hangs up is an error of that connection, not the end of the program
    return fenlo::runCommandLine(argc, argv, [&] { return fenlo::runDesktopApp(argc, argv); });
}
