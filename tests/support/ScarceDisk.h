#pragma once

#include <csignal>
#include <sys/resource.h>

namespace fenlo::test {

/// While this lives, a file cannot grow beyond so many bytes, as if the disk were full.
class ScarceDisk {
public:
    explicit ScarceDisk(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_old);
        const rlimit scarce{bytes, m_old.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &scarce);
    }
    ~ScarceDisk() {
        ::setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, SIG_DFL);
    }
    ScarceDisk(const ScarceDisk&) = delete;
    ScarceDisk& operator=(const ScarceDisk&) = delete;

private:
    rlimit m_old{};
};

} // namespace fenlo::test
