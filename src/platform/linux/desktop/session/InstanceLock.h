#pragma once

#include <filesystem>

namespace fenlo {

/// A lock file that marks the one running instance. The system frees it when the process ends, however it ends.
class InstanceLock {
public:
    explicit InstanceLock(std::filesystem::path file) : m_file(std::move(file)) {}
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;
    ~InstanceLock();

    /// In the session's runtime folder, or among the program's data when there is none.
    static std::filesystem::path defaultFile();

    /// Takes the lock for the life of this object. False when another process has it; true when the file cannot be
    /// made.
    bool take();

    const std::filesystem::path& file() const { return m_file; }

private:
    const std::filesystem::path m_file;
    int m_descriptor = -1;
};

} // namespace fenlo
