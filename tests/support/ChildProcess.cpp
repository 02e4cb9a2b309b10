#include "support/ChildProcess.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace fenlo::test {

namespace {

pid_t start(const std::vector<std::string>& command, int input, int output, int kept) {
    std::vector<char*> arguments;
    for (const auto& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t pid = ::fork();
    if (pid != 0)
        return pid;
    // A test that crashes leaves nothing behind.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(::open("/dev/null", O_WRONLY), STDERR_FILENO);
    if (kept >= 0)
        ::fcntl(kept, F_SETFD, 0);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
}

std::FILE* fileWith(const std::string& content) {
    std::FILE* file = std::tmpfile();
    if (!file)
        throw std::runtime_error("no temporary file");
    std::fwrite(content.data(), 1, content.size(), file);
    std::rewind(file);
    return file;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, const std::string& input, int kept) {
    std::FILE* const in = fileWith(input);
    std::FILE* const out = fileWith("");
    m_pid = start(command, ::fileno(in), ::fileno(out), kept);
    std::fclose(in);
    std::fclose(out);
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept : m_pid(std::exchange(other.m_pid, -1)) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    std::swap(m_pid, other.m_pid);
    return *this;
}

ChildProcess::~ChildProcess() {
    signal(SIGKILL);
    wait();
}

void ChildProcess::signal(int number) const {
    if (m_pid > 0)
        ::kill(m_pid, number);
}

int ChildProcess::wait() {
    if (m_pid <= 0)
        return -1;
    int status = 0;
    ::waitpid(std::exchange(m_pid, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string outputOf(const std::vector<std::string>& command) {
    std::FILE* const in = fileWith("");
    std::FILE* const out = fileWith("");
    const pid_t pid = start(command, ::fileno(in), ::fileno(out), -1);
    ::waitpid(pid, nullptr, 0);
    std::string text;
    std::rewind(out);
    for (int c; (c = std::fgetc(out)) != EOF;)
        text += static_cast<char>(c);
    std::fclose(in);
    std::fclose(out);
    return text;
}

} // namespace fenlo::test
