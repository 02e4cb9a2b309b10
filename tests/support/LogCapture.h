#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace fenlo::test {

/// The lines logged since this was made.
class LogCapture {
public:
    LogCapture();
    std::vector<std::string> lines() const;
    bool contains(const std::string& line) const;
    /// Whether a line begins with this.
    bool containsPrefix(const std::string& prefix) const;

private:
    std::size_t m_start;
};

} // namespace fenlo::test
