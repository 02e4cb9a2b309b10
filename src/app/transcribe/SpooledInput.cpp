#include "app/transcribe/SpooledInput.h"

#include "base/Descriptor.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const std::string& name, const std::string& faultAndRemedy) {
    throw std::runtime_error(name + ": " + faultAndRemedy);
}

fs::path pathOf(int descriptor) {
    return "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(descriptor);
}

int makeNamelessFile() {
    std::error_code error;
    fs::path folder = fs::temp_directory_path(error);
    if (error)
        folder = "/tmp";
    std::string name = (folder / "fenlo_pipe_XXXXXX").string();
    const int file = ::mkostemp(name.data(), O_CLOEXEC);
    if (file >= 0)
        ::unlink(name.c_str());
    return file;
}

} // namespace

SpooledInput::SpooledInput(const fs::path& source, std::stop_token stop) : m_path(source) {
    const bool isStandardInput = source == "-";
    const std::string name = isStandardInput ? "standard input" : source.string();
    struct stat status {};
    if ((isStandardInput ? ::fstat(STDIN_FILENO, &status) : ::stat(source.c_str(), &status)) != 0)
        fail(name, std::string(std::strerror(errno)) + "; check the name and the permissions");
    if (S_ISREG(status.st_mode)) {
        if (isStandardInput)
            m_path = pathOf(STDIN_FILENO);
        return;
    }
    if (!isStandardInput && !S_ISFIFO(status.st_mode))
        return; // a device may have no end; whoever reads it reports the fault
    if (isStandardInput && ::isatty(STDIN_FILENO) != 0)
        fail(name, "this is the keyboard; give a recording, as in: fenlo transcribe - < talk.wav");
    if (isStandardInput) {
        spool(STDIN_FILENO, name, std::move(stop));
        return;
    }
    const Descriptor pipe(::open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (pipe.number() < 0)
        fail(name, std::string(std::strerror(errno)) + "; check the name and the permissions");
    spool(pipe.number(), name, std::move(stop));
}

SpooledInput::~SpooledInput() {
    if (m_copy >= 0)
        ::close(m_copy);
}

void SpooledInput::spool(int source, const std::string& name, std::stop_token stop) {
    const Descriptor copy(makeNamelessFile());
    if (!copy.isOpen())
        fail(name, std::string("a copy cannot be made in the temporary folder (") + std::strerror(errno) +
                       "); set TMPDIR to a folder that can be written to");
    const Descriptor wake(::eventfd(0, EFD_CLOEXEC));
    const std::stop_callback onStop(stop, [&] { ::eventfd_write(wake.number(), 1); });
    std::array<char, 65536> block;
    for (;;) {
        std::array<pollfd, 2> events{pollfd{source, POLLIN, 0}, pollfd{wake.number(), POLLIN, 0}};
        if (::poll(events.data(), events.size(), -1) < 0 && errno != EINTR)
            fail(name, std::strerror(errno));
        if (stop.stop_requested())
            fail(name, "reading was stopped; start it again");
        if (events[0].revents == 0)
            continue;
        const ssize_t got = ::read(source, block.data(), block.size());
        if (got == 0)
            break;
        if (got < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (got < 0)
            fail(name, std::string("cannot be read: ") + std::strerror(errno));
        if (!writeAll(copy.number(), {block.data(), static_cast<std::size_t>(got)}))
            fail(name, std::string("there is no room for a copy in the temporary folder (") + std::strerror(errno) +
                           "); free some space or set TMPDIR");
    }
    m_copy = ::fcntl(copy.number(), F_DUPFD_CLOEXEC, 0);
    if (m_copy < 0)
        fail(name, std::strerror(errno));
    m_path = pathOf(m_copy);
}

} // namespace fenlo
