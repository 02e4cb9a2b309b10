#include "platform/linux/desktop/session/SparePower.h"

#include <fstream>
#include <string>
#include <sys/resource.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr int givingWay = 10; // of 19: what the user works with goes first

std::string lineOf(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

/// The batteries of mice and headsets are supplies too, of the scope "Device".
bool isDischarging(const fs::path& supply) {
    return lineOf(supply / "type") == "Battery" && lineOf(supply / "scope") != "Device" &&
           lineOf(supply / "status") == "Discharging";
}

} // namespace

bool hasSparePower(const fs::path& supplies) {
    if (std::thread::hardware_concurrency() < 2)
        return false;
    std::error_code error;
    for (const auto& supply : fs::directory_iterator(supplies, error))
        if (isDischarging(supply.path()))
            return false;
    return true;
}

void lowerThisThread() {
    // On Linux a priority belongs to a thread, whose id stands for it here.
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), givingWay);
}

} // namespace fenlo
