#pragma once

#include <string_view>
#include <unistd.h>

namespace fenlo {

/// An open file, closed with its owner.
class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0)
            ::close(m_number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }

private:
    const int m_number;
};

/// Writes all bytes to an open, blocking file. False with errno when some could not be written.
bool writeAll(int file, std::string_view bytes);

} // namespace fenlo
