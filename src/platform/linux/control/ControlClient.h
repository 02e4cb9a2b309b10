#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace fenlo {

/// What the running program answered to an order.
struct ControlAnswer {
    enum class State { answered, notRunning, silent };
    State state;
    std::string line; // without its end; empty unless answered
};

/// Brings a line to the running program's control socket and waits for its answer, so many seconds at most.
///
/// Threads: any; blocks.
ControlAnswer order(const std::filesystem::path& controlFile, const std::string& line, double patience);

} // namespace fenlo
