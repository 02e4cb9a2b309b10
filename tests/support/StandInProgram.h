#pragma once

#include "base/Files.h"

#include <csignal>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>

namespace fenlo::test {

/// Prints a whole line at once, on any thread.
inline void printLine(const std::string& line) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << line << std::endl;
}

/// Runs a stand-in server, which `start` makes, until the program is asked to end. Writes the open port into the file,
/// if one is named. Returns the exit code.
template <typename Start>
int runStandIn(const std::string& program, const std::string& portFile, Start start) try {
    // Blocked before any thread starts, so that only the wait below gets them.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const auto standIn = start();
    if (!portFile.empty() && !files::writeAtomically(portFile, std::to_string(standIn->server().port()) + "\n"))
        throw std::runtime_error("cannot write " + portFile);
    int received = 0;
    sigwait(&signals, &received);
    return 0;
} catch (const std::exception& error) {
    std::cerr << program << ": " << error.what() << std::endl;
    return 1;
}

} // namespace fenlo::test
