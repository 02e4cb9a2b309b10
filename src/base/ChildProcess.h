#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace fenlo {

/// What a child reads, -1 for nothing, and where it writes; there -1 leaves it this program's own stream.
struct ChildStreams {
    int input = -1;
    int output = -1;
    int complaints = -1; // its standard error
};

/// Starts a program that is looked up in PATH, or named by its path. No signal is blocked in it, no
/// other file of ours is open in it, and only "/proc/self/exe", this very program, sees the keys
/// in our environment. The caller waits for its end.
///
/// Threads: any.
/// Errors:  returns the error number of a failed start, and 0 otherwise.
int startChild(std::vector<std::string> command, const ChildStreams& streams, pid_t& process);

/// The texts as the calls of the system want a list of them; valid as long as the texts are.
std::vector<char*> pointersTo(std::vector<std::string>& texts);

} // namespace fenlo
