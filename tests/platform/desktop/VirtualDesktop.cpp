#include "platform/desktop/VirtualDesktop.h"

#include "support/WaitUntil.h"

#include <cstdlib>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>

namespace fenlo::test {

namespace {

/// Starts a server that tells its address through a descriptor. `option` is what comes before the descriptor's number
/// on its command line; it ends in '=' when both are one word.
std::string startTelling(ChildProcess& process, std::vector<std::string> command, const std::string& option) {
    int ends[2];
    if (::pipe(ends) != 0)
        throw std::runtime_error("no pipe");
    const std::string number = std::to_string(ends[1]);
    if (option.ends_with('='))
        command.push_back(option + number);
    else
        command.insert(command.end(), {option, number});
    process = ChildProcess(command, "", ends[1]);
    ::close(ends[1]);
    std::string address;
    constexpr int patience = 20000; // milliseconds
    pollfd source{ends[0], POLLIN, 0};
    for (char c; ::poll(&source, 1, patience) > 0 && ::read(ends[0], &c, 1) == 1 && c != '\n';)
        address += c;
    ::close(ends[0]);
    if (address.empty())
        throw std::runtime_error(command.front() + " does not start");
    return address;
}

} // namespace

VirtualDesktop::VirtualDesktop() {
    const char* display = std::getenv("DISPLAY");
    m_previousDisplay = display ? display : "";
    const auto number =
        startTelling(m_server, {"Xvfb", "-screen", "0", "1024x768x24", "-nolisten", "tcp", "-noreset"}, "-displayfd");
    ::setenv("DISPLAY", (":" + number).c_str(), 1);
    m_windowManager = ChildProcess({"openbox", "--sm-disable"});
    if (!eventually([] {
            return outputOf({"xprop", "-root", "_NET_SUPPORTING_WM_CHECK"}).find("0x") != std::string::npos;
        }))
        throw std::runtime_error("the window manager does not start");
}

VirtualDesktop::~VirtualDesktop() {
    ::setenv("DISPLAY", m_previousDisplay.c_str(), 1);
}

void VirtualDesktop::end() {
    m_server = {};
}

VirtualBus::VirtualBus() {
    // The machine's other services stay away: the bus would start a real portal in the place of one that has left.
    const auto services = m_folder / "services";
    std::filesystem::create_directory(services);
    std::filesystem::create_symlink("/usr/share/dbus-1/services/org.a11y.Bus.service",
                                    services / "org.a11y.Bus.service");
    const auto configuration = m_folder / "bus.conf";
    std::ofstream(configuration) << "<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen><servicedir>"
                                 << services.string() << "</servicedir><policy context=\"default\">"
                                 << "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/>"
                                 << "<allow own=\"*\"/></policy></busconfig>";
    const auto address =
        startTelling(m_bus, {"dbus-daemon", "--config-file=" + configuration.string(), "--nofork"}, "--print-address=");
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
}

VirtualBus::~VirtualBus() {
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

} // namespace fenlo::test
