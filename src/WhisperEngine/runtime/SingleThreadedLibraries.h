#pragma once

#include <omp.h>

namespace fenlo::whisper {

/// While it lives, oneDNN stays on the calling thread instead of starting OpenMP threads beneath each of ours.
class SingleThreadedLibraries {
public:
    SingleThreadedLibraries() : m_before(omp_get_max_threads()) { omp_set_num_threads(1); }
    ~SingleThreadedLibraries() { omp_set_num_threads(m_before); }
    SingleThreadedLibraries(const SingleThreadedLibraries&) = delete;
    SingleThreadedLibraries& operator=(const SingleThreadedLibraries&) = delete;

private:
    int m_before; // the setting belongs to the calling thread
};

} // namespace fenlo::whisper
