#include "media/FfmpegProgram.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace fenlo {

namespace {

constexpr std::uintmax_t mostBytes = std::uintmax_t{1} << 31;

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

/// Waits for the end of a process, which a stop request kills. It is reaped only when nobody can kill it any more,
/// since its number may be another's from then on.
bool succeeds(pid_t process, const std::stop_token& stop) {
    const auto wait = [process](int flags, siginfo_t& end) {
        while (::waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | flags) != 0)
            if (errno != EINTR)
                return false;
        return true;
    };
    siginfo_t end{};
    {
        const std::stop_callback killing(stop, [process] { ::kill(process, SIGKILL); });
        wait(WNOWAIT, end);
    }
    return wait(0, end) && end.si_code == CLD_EXITED && end.si_status == 0;
}

} // namespace

FfmpegResult convertWithFfmpeg(const std::filesystem::path& input, const std::filesystem::path& output,
                               std::stop_token stop) {
    // "file:" keeps a name that begins with a dash or looks like an address from being taken for one.
    const std::string source = "file:" + std::filesystem::absolute(input).string();
    const std::string target = "file:" + std::filesystem::absolute(output).string();
    pid_t process = 0;
    const int error =
        spawnQuietly({"ffmpeg", "-nostdin", "-loglevel", "error", "-protocol_whitelist", "file", "-i", source, "-map",
                      "0:a:0", "-c:a", "pcm_s16le", "-fs", std::to_string(mostBytes), "-f", "wav", "-y", target},
                     process);
    if (error == ENOENT)
        return FfmpegResult::notInstalled;
    if (error != 0)
        return FfmpegResult::failed;
    const bool succeeded = succeeds(process, stop);
    if (stop.stop_requested())
        return FfmpegResult::stopped;
    std::error_code unreadable;
    const std::uintmax_t size = std::filesystem::file_size(output, unreadable);
    if (!succeeded || unreadable)
        return FfmpegResult::failed;
    return size < mostBytes ? FfmpegResult::converted : FfmpegResult::tooLong;
}

} // namespace fenlo
