#pragma once

#include <filesystem>
#include <stop_token>

namespace fenlo {

/// A recording as a file that can be read from its start, and more than once. Standard input or a named pipe is first
/// copied to its end into an unnamed temporary file, which lives as long as this object.
///
/// Errors: std::runtime_error with a line for the user, when it cannot be read, there is no room for the copy, or the
///         copying is stopped.
class SpooledInput {
public:
    /// "-" is standard input.
    SpooledInput(const std::filesystem::path& source, std::stop_token stop);
    ~SpooledInput();
    SpooledInput(const SpooledInput&) = delete;
    SpooledInput& operator=(const SpooledInput&) = delete;

    /// Also for the programs that this one starts.
    const std::filesystem::path& path() const { return m_path; }

private:
    void spool(int source, const std::string& name, std::stop_token stop);

    std::filesystem::path m_path;
    int m_copy = -1;
};

} // namespace fenlo
