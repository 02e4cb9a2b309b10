#include "platform/linux/desktop/session/InstanceDoor.h"

#include "base/Deadline.h"
#include "base/Files.h"
#include "base/Log.h"
#include "platform/linux/control/LocalSocket.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>

namespace fenlo {

namespace {

constexpr char answerByte = '+';
constexpr int knockPause = 20; // milliseconds
constexpr int waitingCallers = 8;

bool isAnswered(int socket, Deadline until) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Deadline::clock::now());
    pollfd waiting{socket, POLLIN, 0};
    char byte = 0;
    return ::poll(&waiting, 1, std::max(0, static_cast<int>(left.count()))) > 0 && ::read(socket, &byte, 1) == 1;
}

} // namespace

std::filesystem::path InstanceDoor::beside(const std::filesystem::path& lockFile) {
    return std::filesystem::path(lockFile).replace_extension(".socket");
}

std::unique_ptr<InstanceDoor> InstanceDoor::open(const std::filesystem::path& file, KnockHandler onKnock) {
    files::removeQuietly(file);
    LocalSocket socket(file);
    if (!socket.listen(waitingCallers)) {
        logError("Cannot open {}: {}; a second start will not find this one", file.string(), std::strerror(errno));
        return nullptr;
    }
    return std::unique_ptr<InstanceDoor>(new InstanceDoor(file, socket.release(), std::move(onKnock)));
}

InstanceDoor::InstanceDoor(std::filesystem::path file, int listening, KnockHandler onKnock)
    : m_file(std::move(file)), m_listening(listening), m_onKnock(std::move(onKnock)),
      m_thread([this](std::stop_token stop) { run(stop); }) {}

InstanceDoor::~InstanceDoor() {
    m_thread.request_stop();
    m_wakeup.wake();
    m_thread.join();
    files::removeQuietly(m_file);
}

void InstanceDoor::run(std::stop_token stop) {
    while (!stop.stop_requested()) {
        const int number = ::accept4(m_listening.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (number < 0 && errno != EAGAIN && errno != EINTR && errno != ECONNABORTED) {
            logError("Other starts are not heard any more: {}", std::strerror(errno));
            return;
        }
        if (number < 0) {
            m_wakeup.sleep(m_listening.number(), -1);
            continue;
        }
        m_onKnock([caller = std::make_shared<const Descriptor>(number)] {
            // One that has gone meanwhile must not end this process by a signal.
            ::send(caller->number(), &answerByte, 1, MSG_NOSIGNAL);
        });
    }
}

bool InstanceDoor::knock(const std::filesystem::path& file, double patience) {
    const Deadline until = deadlineAfter(patience);
    while (true) {
        if (const LocalSocket socket(file); socket.connect())
            return isAnswered(socket.number(), until);
        if (Deadline::clock::now() >= until)
            return false;
        // The other process has the lock, and is about to open its door.
        ::poll(nullptr, 0, knockPause);
    }
}

} // namespace fenlo
