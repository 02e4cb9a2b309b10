#include "platform/linux/wayland/posting/UinputKeyboard.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/uinput.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace fenlo {

namespace {

constexpr std::uint32_t mostKeys = 248; // what a keyboard of a desktop has; higher codes are buttons

bool write(int file, std::uint16_t type, std::uint16_t code, std::int32_t value) {
    input_event event{}; // the kernel sets the time
    event.type = type;
    event.code = code;
    event.value = value;
    return writeAll(file, {reinterpret_cast<const char*>(&event), sizeof event});
}

} // namespace

std::string UinputKeyboard::obstacle(const std::filesystem::path& device) {
    if (::access(device.c_str(), W_OK) == 0)
        return "";
    return errno == ENOENT ? device.string() + " does not exist" : device.string() + " is not open to this user";
}

std::unique_ptr<UinputKeyboard> UinputKeyboard::make(const std::filesystem::path& device, const Create& create) {
    std::unique_ptr<UinputKeyboard> keyboard(
        new UinputKeyboard(::open(device.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)));
    const Descriptor& file = keyboard->m_file;
    return file.isOpen() && create(file.number()) ? std::move(keyboard) : nullptr;
}

UinputKeyboard::~UinputKeyboard() {
    ::ioctl(m_file.number(), UI_DEV_DESTROY);
}

bool UinputKeyboard::createInKernel(int file) {
    if (::ioctl(file, UI_SET_EVBIT, EV_KEY) != 0)
        return false;
    for (std::uint32_t code = 1; code < mostKeys; ++code)
        ::ioctl(file, UI_SET_KEYBIT, code);
    uinput_setup setup{};
    setup.id.bustype = BUS_VIRTUAL;
    std::strncpy(setup.name, deviceName, sizeof setup.name - 1);
    return ::ioctl(file, UI_DEV_SETUP, &setup) == 0 && ::ioctl(file, UI_DEV_CREATE) == 0;
}

bool UinputKeyboard::send(std::span<const std::uint32_t> codes, bool isDown) {
    for (const std::uint32_t code : codes)
        if (!write(m_file.number(), EV_KEY, static_cast<std::uint16_t>(code), isDown ? 1 : 0) ||
            !write(m_file.number(), EV_SYN, SYN_REPORT, 0))
            return false;
    return true;
}

} // namespace fenlo
