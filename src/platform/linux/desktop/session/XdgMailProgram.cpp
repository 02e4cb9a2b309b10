#include "platform/linux/desktop/session/XdgMailProgram.h"

#include "base/Deadline.h"
#include "base/Text.h"
#include "base/Url.h"
#include "platform/linux/desktop/session/ShowInFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace fenlo {

namespace {

constexpr double startLimit = 5; // seconds; a program that still runs then has started

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

} // namespace

std::optional<std::string> XdgMailProgram::open(const MailDraft& draft, std::stop_token stop) {
    pid_t process = 0;
    if (const int error = m_programs.start({"xdg-email", "--utf8", mailtoAddress(draft)}, process); error != 0)
        return faultOfStart(error);
    if (const auto status = m_programs.waitForEnd(process, startLimit, stop))
        if (auto fault = faultOf(*status))
            return fault;
    if (!draft.file.empty())
        showInFolder(draft.file, stop);
    return std::nullopt;
}

} // namespace fenlo
