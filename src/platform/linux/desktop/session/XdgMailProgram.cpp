#include "platform/linux/desktop/session/XdgMailProgram.h"

#include "base/ChildProcess.h"
#include "base/Deadline.h"
#include "base/Descriptor.h"
#include "base/Log.h"
#include "base/Text.h"
#include "base/Url.h"
#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/Wakeup.h"
#include "platform/linux/desktop/session/StartProgram.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fenlo {

namespace {

constexpr double startLimit = 5;   // seconds; a program that still runs then has started
constexpr double managerLimit = 3; // seconds for the file manager to answer

/// On one line: a line end would begin another header of the mail.
std::string oneLine(const std::string& text) {
    return text::join(text::words(text), " ");
}

std::string mailtoAddress(const MailDraft& draft) {
    std::vector<std::string> recipients;
    for (const std::string& address : draft.recipients)
        recipients.push_back(url::percentEncode(oneLine(address), "@"));
    return "mailto:" + text::join(recipients, ",") + "?subject=" + url::percentEncode(oneLine(draft.subject), "") +
           "&body=" + url::percentEncode(text::replaceAll(draft.text, "\n", "\r\n"), "");
}

/// One sentence for the exit status of xdg-email; nothing for success.
std::optional<std::string> faultOf(int status) {
    switch (status) {
    case 0:
        return std::nullopt;
    case 3:
        return "No mail program was found; install one, or copy the text into a mail.";
    case 1:
        return "The mail program was not given the mail; copy the text into a mail instead.";
    default:
        return "Your mail program did not open; choose one in the desktop's settings for default applications, or copy "
               "the text into a mail.";
    }
}

std::optional<std::string> faultOfStart(int error) {
    if (error == ENOENT)
        return "The program xdg-email is missing; install the package xdg-utils, or copy the text into a mail.";
    if (error == E2BIG)
        return "The mail is too long for a mail program; copy the text into a mail instead.";
    return "The mail program cannot be started (" + std::string(std::strerror(error)) +
           "); copy the text into a mail instead.";
}

enum class Ending { ended, goesOn };

/// Waits until the process has ended, which leaves it to be reaped, at most so many seconds.
Ending waitForEnd(pid_t process, double limit, std::stop_token stop) {
    const Descriptor handle(static_cast<int>(::syscall(SYS_pidfd_open, process, 0)));
    Wakeup wakeup;
    const std::stop_callback onStop(stop, [&] { wakeup.wake(); });
    const Deadline deadline = deadlineAfter(limit);
    while (!stop.stop_requested()) {
        siginfo_t end{};
        ::waitid(P_PID, static_cast<id_t>(process), &end, WEXITED | WNOHANG | WNOWAIT);
        if (end.si_pid == process)
            return Ending::ended;
        const double left = std::chrono::duration<double>(deadline - Deadline::clock::now()).count();
        if (left <= 0)
            break;
        wakeup.sleep(handle.number(), left);
    }
    return Ending::goesOn;
}

bool showByFileManager(const std::filesystem::path& file, std::stop_token stop) {
    const GlibObject<GCancellable> cancel(g_cancellable_new());
    const std::stop_callback onStop(stop, [&] { g_cancellable_cancel(cancel.get()); });
    std::string error;
    const std::string address = DBusConnection::addressOf(G_BUS_TYPE_SESSION, cancel.get());
    const auto bus = address.empty() ? std::nullopt : DBusConnection::open(address, cancel.get(), error);
    if (!bus)
        return false;
    const std::string uri = "file://" + url::percentEncode(file.string(), "/");
    const char* const uris[] = {uri.c_str(), nullptr};
    return bus->call({"org.freedesktop.FileManager1", "/org/freedesktop/FileManager1"},
                     {"org.freedesktop.FileManager1", "ShowItems", g_variant_new("(^ass)", uris, "")},
                     deadlineAfter(managerLimit)) != nullptr;
}

void showInFolder(const std::filesystem::path& file, std::stop_token stop) {
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored) || showByFileManager(file, stop) || stop.stop_requested())
        return;
    if (!startProgram("xdg-open", file.parent_path().string()))
        logInfo("Cannot show a folder: is xdg-open installed?");
}

} // namespace

XdgMailProgram::~XdgMailProgram() {
    m_running.with([](Processes& running) { reap(running); });
}

std::optional<std::string> XdgMailProgram::open(const MailDraft& draft, std::stop_token stop) {
    m_running.with([](Processes& running) { reap(running); });
    const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC)); // its complaints quote the whole mail
    pid_t process = 0;
    if (const int error = startChild({"xdg-email", "--utf8", mailtoAddress(draft)},
                                     {.output = nowhere.number(), .complaints = nowhere.number()}, process);
        error != 0)
        return faultOfStart(error);
    if (waitForEnd(process, startLimit, stop) == Ending::goesOn) {
        m_running.with([&](Processes& running) { running.push_back(process); });
    } else {
        int status = 0;
        ::waitpid(process, &status, 0);
        if (auto fault = faultOf(WIFEXITED(status) ? WEXITSTATUS(status) : -1))
            return fault;
    }
    if (!draft.file.empty())
        showInFolder(draft.file, stop);
    return std::nullopt;
}

void XdgMailProgram::reap(Processes& running) {
    std::erase_if(running, [](pid_t process) { return ::waitpid(process, nullptr, WNOHANG) != 0; });
}

} // namespace fenlo
