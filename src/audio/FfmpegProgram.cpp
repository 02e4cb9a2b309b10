#include "audio/FfmpegProgram.h"

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fenlo {

namespace {

/// Runs a program with nothing on its three standard streams. Returns an error number of the start.
int spawnQuietly(std::vector<std::string> arguments, pid_t& process) {
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t streams;
    ::posix_spawn_file_actions_init(&streams);
    ::posix_spawn_file_actions_addopen(&streams, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&streams, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&streams, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int error = ::posix_spawnp(&process, argv.front(), &streams, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&streams);
    return error;
}

} // namespace

FfmpegResult convertWithFfmpeg(const std::filesystem::path& input, const std::filesystem::path& output) {
    // "file:" keeps a name that begins with a dash or looks like an address from being taken for one.
    const std::string source = "file:" + std::filesystem::absolute(input).string();
    const std::string target = "file:" + std::filesystem::absolute(output).string();
    pid_t process = 0;
    const int error =
        spawnQuietly({"ffmpeg", "-nostdin", "-loglevel", "error", "-protocol_whitelist", "file", "-i", source, "-map",
                      "0:a:0", "-c:a", "pcm_f32le", "-fs", "1073741824", "-f", "wav", "-y", target},
                     process);
    if (error == ENOENT)
        return FfmpegResult::notInstalled;
    if (error != 0)
        return FfmpegResult::failed;
    int status = 0;
    while (::waitpid(process, &status, 0) < 0)
        if (errno != EINTR)
            return FfmpegResult::failed;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? FfmpegResult::converted : FfmpegResult::failed;
}

} // namespace fenlo
