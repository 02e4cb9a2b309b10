#include "base/ChildProcess.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

namespace fenlo {

int startChild(std::vector<std::string> command, const ChildStreams& streams, pid_t& process) {
    std::vector<char*> argv;
    argv.reserve(command.size() + 1);
    for (std::string& argument : command)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t files;
    ::posix_spawn_file_actions_init(&files);
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
    const int error = ::posix_spawnp(&process, argv.front(), &files, &attributes, argv.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&files);
    return error;
}

} // namespace fenlo
