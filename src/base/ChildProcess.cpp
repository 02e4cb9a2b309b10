#include "base/ChildProcess.h"

#include "base/Environment.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

namespace fenlo {

namespace {

constexpr const char* thisProgram = "/proc/self/exe";

} // namespace

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

int startChild(std::vector<std::string> command, const ChildStreams& streams, pid_t& process) {
    const std::vector<char*> argv = pointersTo(command);
    std::vector<std::string> others;
    std::vector<char*> variables;
    if (command.front() != thisProgram) {
        others = environmentForOthers();
        variables = pointersTo(others);
    }

    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
    if (streams.input >= 0)
        ::posix_spawn_file_actions_adddup2(&files, streams.input, STDIN_FILENO);
    else
        ::posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (streams.output >= 0)
        ::posix_spawn_file_actions_adddup2(&files, streams.output, STDOUT_FILENO);
    if (streams.complaints >= 0)
        ::posix_spawn_file_actions_adddup2(&files, streams.complaints, STDERR_FILENO);
    ::posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t none;
    ::sigemptyset(&none);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    const int error = ::posix_spawnp(&process, argv.front(), &files, &attributes, argv.data(),
                                     variables.empty() ? environ : variables.data());
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&files);
    return error;
}

} // namespace fenlo
