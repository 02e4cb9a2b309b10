#pragma once

#include "base/Descriptor.h"

#include <filesystem>
#include <stop_token>

namespace fenlo {
class Clock;
}

namespace fenlo::hub {

/// Keeps a folder for one download at a time, among all processes. It ends with its process, however that ends.
class FolderLock {
public:
    /// Waits while another holds the folder, and logs that it does. Throws HubError disk or cancelled.
    FolderLock(const std::filesystem::path& folder, Clock& clock, std::stop_token stop);

private:
    const Descriptor m_file;
};

} // namespace fenlo::hub
