// fenlo-clipboard: answers for the clipboard of a Wayland session after the program's end, as its only work. Started by
// the program with the content on the standard input; ends when somebody else takes the clipboard.

#include "app/ExitStatus.h"
#include "platform/linux/wayland/clipboard/ClipboardKeeper.h"
#include "platform/linux/wayland/clipboard/DataControl.h"

#include <csignal>
#include <unistd.h>

int main() {
    std::signal(SIGPIPE, SIG_IGN); // a program that asks and goes away is no reason to end
    ::setsid();                    // nor is the end of the terminal in which Fenlo was started
    auto contents = fenlo::receiveClipboard(STDIN_FILENO);
    const auto clipboard = contents ? fenlo::DataControl::open() : nullptr;
    if (!clipboard)
        return fenlo::exitStatus::failed;
    ::close(STDIN_FILENO);
    clipboard->serve(std::move(*contents));
    return fenlo::exitStatus::ok;
}
