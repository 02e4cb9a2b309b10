#include "media/FfmpegProgram.h"

#include "base/ChildProcess.h"
#include "media/AudioFileError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fenlo {

namespace {

bool waitForEnd(pid_t process, int flags, siginfo_t& end) {
    while (::waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | flags) != 0)
        if (errno != EINTR)
            return false;
    return true;
}

} // namespace

FfmpegProgram::FfmpegProgram(const std::filesystem::path& input, std::stop_token stop)
    : m_complaints(::memfd_create("ffmpeg", MFD_CLOEXEC)) {
    // With "file:" in front, a name is never taken for an option or an address.
    const std::string source = "file:" + std::filesystem::absolute(input).string();
    std::array<int, 2> ends{-1, -1};
    if (!m_complaints.isOpen() || ::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw AudioFileError(input, std::string(std::strerror(errno)) + "; close some programs and try again");
    m_output = std::make_unique<Descriptor>(ends[0]);
    const Descriptor programEnd(ends[1]);
    const int error =
        startChild({"ffmpeg", "-nostdin", "-loglevel", "error", "-protocol_whitelist", "file", "-i", source, "-map",
                    "0:a:0", "-af", "aresample=async=1", "-c:a", "pcm_f32be", "-f", "au", "pipe:1"},
                   {.output = programEnd.number(), .complaints = m_complaints.number()}, m_process);
    if (error != 0) {
        m_process = 0;
        throw AudioFileError(input, error == ENOENT
                                        ? "the format is not known here; install ffmpeg, or convert the file to WAV"
                                        : std::string("ffmpeg does not start (") + std::strerror(error) +
                                              "); convert the file to WAV");
    }
    m_killing.emplace(std::move(stop), [process = m_process] { ::kill(process, SIGKILL); });
}

FfmpegProgram::~FfmpegProgram() {
    if (m_process == 0)
        return;
    ::kill(m_process, SIGKILL);
    finish();
}

bool FfmpegProgram::hasComplained() {
    struct stat status {};
    if (::fstat(m_complaints.number(), &status) != 0)
        return false;
    return std::exchange(m_complaintsSeen, status.st_size) < status.st_size;
}

std::string FfmpegProgram::firstComplaint() const {
    std::string line(512, '\0');
    const ssize_t size = ::pread(m_complaints.number(), line.data(), line.size(), 0);
    line.resize(static_cast<std::size_t>(std::max<ssize_t>(0, size)));
    line.resize(std::min(line.size(), line.find('\n')));
    // Parts of ffmpeg put their name and an address in front.
    const std::size_t name = line.starts_with('[') ? line.find("] ") : std::string::npos;
    return name == std::string::npos ? line : line.substr(name + 2);
}

bool FfmpegProgram::finish() {
    if (m_process == 0)
        return false;
    m_output.reset(); // it may still be writing; now nobody reads
    siginfo_t end{};
    waitForEnd(m_process, WNOWAIT, end);
    m_killing.reset(); // before the process number can be given to another process
    return waitForEnd(std::exchange(m_process, 0), 0, end) && end.si_code == CLD_EXITED && end.si_status == 0;
}

} // namespace fenlo
