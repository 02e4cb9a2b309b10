#pragma once

#include <filesystem>

namespace fenlo {

/// Whether this machine has power and a core to spare for work that nobody waits for: a second core, and no battery of
/// the machine's own that is being discharged. Reads files of the kernel's, so it belongs on a worker.
bool hasSparePower(const std::filesystem::path& supplies = "/sys/class/power_supply");

/// Takes the priority of the calling thread below that of the rest, for good.
void lowerThisThread();

} // namespace fenlo
