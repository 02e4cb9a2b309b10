#pragma once

#include <stdexcept>
#include <string_view>

namespace fenlo {

/// Standard output does not take what is written: the disk is full, or the reader of a pipe has gone. what() is one
/// line.
struct OutputError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Writes the whole text to standard output at once, without a buffer that could fail later.
/// Errors: OutputError.
void print(std::string_view text);

/// The same with the directives of printf.
[[gnu::format(printf, 1, 2)]] void printFormatted(const char* format, ...);

/// Call first of all. A standard stream that the caller has closed would lend its number to the next file that is
/// opened, which then took the output; here it is opened so that reading it ends and writing to it fails.
void holdStandardStreams();

} // namespace fenlo
