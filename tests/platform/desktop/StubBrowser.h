#pragma once

#include "base/Files.h"
#include "base/Text.h"
#include "platform/desktop/VirtualDesktop.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace fenlo::test {

/// A program in xdg-open's place that writes down the addresses it is given.
class StubBrowser {
public:
    StubBrowser() {
        const auto program = m_folder / "xdg-open";
        std::filesystem::create_directories(m_folder);
        files::writeAtomically(program, "#!/bin/sh\necho \"$1\" >> \"" + m_opened.string() + "\"\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        ::setenv("PATH", (m_folder.string() + ":" + m_path).c_str(), 1);
    }
    ~StubBrowser() { ::setenv("PATH", m_path.c_str(), 1); }

    /// Waits for the first one.
    std::vector<std::string> opened() const {
        eventually([this] { return files::read(m_opened).value_or("").ends_with('\n'); });
        return text::words(files::read(m_opened).value_or(""));
    }

private:
    const std::filesystem::path m_folder = files::temporaryFile("browser-", "");
    const std::filesystem::path m_opened = m_folder / "opened";
    const std::string m_path = std::getenv("PATH");
};

} // namespace fenlo::test
