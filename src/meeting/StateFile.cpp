#include "meeting/StateFile.h"

#include "base/Background.h"
#include "base/Files.h"
#include "base/WriteFault.h"

#include <cerrno>

namespace fenlo {

StateFile::StateFile(std::filesystem::path file, Background& background)
    : m_file(std::move(file)), m_background(background) {}

void StateFile::write(std::string content) {
    const bool mustStart = m_contents.with([&](Contents& contents) {
        if (content == contents.latest)
            return false;
        contents.latest = std::move(content);
        contents.isWritten = false;
        return !std::exchange(contents.isWriting, true);
    });
    if (mustStart)
        start();
}

void StateFile::tryAgain() {
    const bool mustStart = m_contents.with([](Contents& contents) {
        if (contents.trouble.empty())
            return false;
        contents.isWritten = false;
        return !std::exchange(contents.isWriting, true);
    });
    if (mustStart)
        start();
}

void StateFile::start() {
    m_background.run([self = shared_from_this()](const std::stop_token&) { self->writeAll(); });
}

std::string StateFile::trouble() const {
    return m_contents.with([](const Contents& contents) { return contents.trouble; });
}

/// Nothing, and nobody writes any more, when the latest content is in the file.
std::optional<std::string> StateFile::next() {
    return m_contents.with([](Contents& contents) -> std::optional<std::string> {
        contents.isWriting = !contents.isWritten;
        if (std::exchange(contents.isWritten, true))
            return {};
        return contents.latest;
    });
}

void StateFile::writeAll() {
    while (const auto content = next()) {
        const std::string reason = files::writeAtomically(m_file, *content) ? "" : files::writeFault(errno);
        m_contents.with([&](Contents& contents) { contents.trouble = reason; });
    }
}

} // namespace fenlo
