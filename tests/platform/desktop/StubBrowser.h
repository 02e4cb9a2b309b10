#pragma once

#include "base/Files.h"
#include "base/Text.h"
#include "platform/desktop/VirtualDesktop.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

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
        files::writeAtomically(program, "#!/bin/sh\necho \"$1\" >> \"" + m_opened.string() + "\"\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }

    /// Waits for the first one.
    std::vector<std::string> opened() const {
        eventually([this] { return files::read(m_opened).value_or("").ends_with('\n'); });
        return text::words(files::read(m_opened).value_or(""));
    }

private:
    const TemporaryFolder m_folder;
    const std::filesystem::path m_opened = m_folder / "opened";
    const EnvironmentVariable m_path{"PATH", (m_folder.path.string() + ":" + std::getenv("PATH")).c_str()};
};

} // namespace fenlo::test
