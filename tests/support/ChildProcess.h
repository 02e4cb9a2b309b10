#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace fenlo::test {

/// A program that runs as long as this lives. What it prints is dropped.
class ChildProcess {
public:
    ChildProcess() = default;
    /// With `input` the program reads it from its standard input. `kept` is a descriptor it inherits.
    explicit ChildProcess(const std::vector<std::string>& command, const std::string& input = "", int kept = -1);
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;
    ~ChildProcess();

    pid_t pid() const { return m_pid; }
    void signal(int number) const;
    /// Waits for the end. Returns the exit status, or -1 after a signal.
    int wait();

private:
    pid_t m_pid = -1;
};

/// Runs a program to its end. Returns what it printed.
std::string outputOf(const std::vector<std::string>& command);

} // namespace fenlo::test
