#pragma once

#include "base/Descriptor.h"

#include <filesystem>
#include <stop_token>

namespace fenlo {
class Clock;
}

namespace fenlo::hub {

/// Lets one process at a time download into a folder. The lock ends with the process, even when that crashes.
class FolderLock {
public:
    /// Waits while another holds the folder, and logs that it does. Throws HubError disk or cancelled.
    FolderLock(const std::filesystem::path& folder, Clock& clock, std::stop_token stop);

private:
    const Descriptor m_file;
};

} // namespace fenlo::hub
