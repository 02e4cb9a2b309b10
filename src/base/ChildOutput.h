#pragma once

#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

/// How a program ended, and what it wrote on its standard output.
struct ChildOutput {
    std::string text;
    int exitStatus = -1; // -1 when a signal ended it
};

/// Runs a program, as startChild() does, and reads what it writes. `complaints` is where its standard error goes.
///
/// Threads: any; blocks at most `limit` seconds.
/// Errors:  nothing when the program does not start, takes longer, writes more than a megabyte, or is to stop; it is
///          killed then.
std::optional<ChildOutput> outputOf(std::vector<std::string> command, double limit, std::stop_token stop,
                                    int complaints = -1);

} // namespace fenlo
