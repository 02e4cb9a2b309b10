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

/// Call first of all. Opens the standard streams that the caller has closed, so that reading them ends and writing to
/// them fails. Otherwise the next file to be opened would get such a stream's number, and with it the output.
void holdStandardStreams();

} // namespace fenlo
