#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace fenlo::test {

/// Gives an environment variable a value (null: unsets it) until the end of its life, then restores the old one.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : m_name(name) {
        if (const char* before = std::getenv(name))
            m_before = before;
        set(value);
    }
    ~EnvironmentVariable() { set(m_before ? m_before->c_str() : nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    void set(const char* value) {
        if (value)
            ::setenv(m_name, value, 1);
        else
            ::unsetenv(m_name);
    }

    const char* m_name;
    std::optional<std::string> m_before;
};

} // namespace fenlo::test
