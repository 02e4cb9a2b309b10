#include "platform/linux/wayland/keys/Keyboards.h"

#include "base/Log.h"
#include "base/LogThrown.h"
#include "platform/linux/wayland/keys/KeyMeanings.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <system_error>

namespace fenlo {

namespace {

// A device's file is there before its permissions are.
constexpr double refusedPatience = 2.0; // seconds
constexpr double refusedPause = 0.1;    // seconds between two tries

} // namespace

Keyboards::Keyboards(Options options, Sinks sinks)
    : m_options(std::move(options)), m_sinks(std::move(sinks)), m_folder(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
      m_ready(::epoll_create1(EPOLL_CLOEXEC)) {
    watchFolder();
    // Before the thread starts, so that no key is missed once this object exists.
    openAll();
    m_thread = std::jthread([this](std::stop_token stop) { logThrown("Keyboards", [&] { run(stop); }); });
}

Keyboards::~Keyboards() {
    m_thread.request_stop();
    m_wakeup.wake();
}

void Keyboards::setActive(bool isActive) {
    m_isActive = isActive;
    m_wakeup.wake();
}

bool Keyboards::haveModifier(std::uint16_t portCode) const {
    return m_keys.with([&](const KeyBits& keys) { return hasModifier(keys, portCode); });
}

void Keyboards::watchFolder() {
    constexpr std::uint32_t changes = IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_DELETE | IN_MOVED_FROM;
    ::inotify_add_watch(m_folder.number(), m_options.folder.c_str(), changes);
    epoll_event event{};
    event.events = EPOLLIN;
    ::epoll_ctl(m_ready.number(), EPOLL_CTL_ADD, m_folder.number(), &event);
}

void Keyboards::run(std::stop_token stop) {
    while (!stop.stop_requested()) {
        if (m_isActive != m_isOpen)
            m_isOpen ? closeAll() : openAll();
        m_wakeup.sleep(m_ready.number(), m_refused.empty() ? -1 : refusedPause);
        // A device that is gone frees its name before another takes it.
        readDevices();
        readFolder();
        tryRefused();
    }
}

void Keyboards::openAll() {
    m_isOpen = true;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(m_options.folder, error))
        open(entry.path().filename());
    m_refused.clear(); // they were refused for good, unless their permissions change
}

void Keyboards::open(const std::string& name) {
    if (!isEventDevice(name) || m_devices.contains(name))
        return;
    const auto path = m_options.folder / name;
    const int number = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (number < 0) {
        if (errno == EACCES || errno == EPERM)
            m_refused.try_emplace(name, deadlineAfter(refusedPatience));
        return;
    }
    m_refused.erase(name);
    const auto heldNow = [this, number] { return m_options.questions.held(number); };
    const auto onChange = [this](std::uint16_t code, bool isDown) { combine(code, isDown); };
    auto device = std::unique_ptr<Device>(new Device{Descriptor(number), {}, KeyStream({onChange, heldNow})});
    const InputDeviceFacts facts = m_options.questions.facts(number, path);
    if (!isKeyboard(facts.keys) || (!m_options.ownName.empty() && facts.name == m_options.ownName))
        return;
    device->keys = facts.keys;
    device->stream.adopt(heldNow());
    for (std::uint16_t code = 0; code < KEY_CNT; ++code)
        if (device->stream.held()[code] && m_holders[code]++ == 0)
            m_sinks.onHeldBefore(code);
    epoll_event event{};
    event.events = EPOLLIN;
    ::epoll_ctl(m_ready.number(), EPOLL_CTL_ADD, number, &event);
    m_devices.emplace(name, std::move(device));
    tellCount();
}

void Keyboards::tryRefused() {
    const auto now = Deadline::clock::now();
    std::erase_if(m_refused, [&](const auto& refused) { return refused.second < now; });
    for (const auto& [name, until] : std::map(m_refused))
        open(name);
}

void Keyboards::close(const std::string& name) {
    m_refused.erase(name);
    const auto found = m_devices.find(name);
    if (found == m_devices.end())
        return;
    found->second->stream.releaseAll();
    m_devices.erase(found);
    tellCount();
}

void Keyboards::closeAll() {
    m_isOpen = false;
    while (!m_devices.empty())
        close(m_devices.begin()->first);
    m_refused.clear();
}

void Keyboards::readFolder() {
    alignas(inotify_event) std::array<char, 16 * (sizeof(inotify_event) + NAME_MAX + 1)> buffer;
    for (ssize_t size; (size = ::read(m_folder.number(), buffer.data(), buffer.size())) > 0;) {
        for (ssize_t at = 0; at < size;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            if (event->len == 0)
                continue;
            if (event->mask & (IN_DELETE | IN_MOVED_FROM))
                close(event->name);
            else if (m_isOpen)
                open(event->name);
        }
    }
}

void Keyboards::readDevices() {
    std::vector<std::string> gone;
    for (const auto& [name, device] : m_devices)
        if (!read(*device))
            gone.push_back(name);
    for (const std::string& name : gone)
        close(name);
}

bool Keyboards::read(Device& device) {
    std::array<std::byte, 64 * sizeof(input_event)> buffer;
    while (true) {
        const ssize_t size = ::read(device.file.number(), buffer.data(), buffer.size());
        if (size > 0)
            device.stream.take({buffer.data(), static_cast<std::size_t>(size)});
        else if (size == 0 || (errno != EAGAIN && errno != EINTR))
            return false; // ENODEV: unplugged, or asleep
        else if (errno == EAGAIN)
            return true;
    }
}

void Keyboards::combine(std::uint16_t code, bool isDown) {
    const bool isEdge = isDown ? m_holders[code]++ == 0 : --m_holders[code] == 0;
    if (isEdge)
        m_sinks.onKey(code, isDown);
}

void Keyboards::tellCount() {
    KeyBits all;
    for (const auto& [name, device] : m_devices)
        all |= device->keys;
    m_keys.with([&](KeyBits& keys) { keys = all; });
    if (m_count.exchange(m_devices.size()) != m_devices.size())
        logInfo("Keyboards that are read: {}", m_devices.size());
}

} // namespace fenlo
