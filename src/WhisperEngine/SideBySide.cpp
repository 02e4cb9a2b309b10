#include "WhisperEngine/SideBySide.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <thread>
#include <vector>

namespace fenlo::whisper {

void runSideBySide(std::size_t count, std::size_t workers, const std::function<void(std::size_t)>& work) {
    std::vector<std::exception_ptr> failures(count);
    std::atomic<std::size_t> next = 0;
    const auto takeTurns = [&] {
        for (std::size_t index; (index = next++) < count;)
            try {
                work(index);
            } catch (...) {
                failures[index] = std::current_exception();
            }
    };
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 1; i < std::min(workers, count); ++i)
            threads.emplace_back(takeTurns);
        takeTurns();
    }
    for (const auto& failure : failures)
        if (failure)
            std::rethrow_exception(failure);
}

Places::Taken::Taken(Places& places, std::stop_token stop) : m_places(places) {
    std::unique_lock lock(m_places.m_mutex);
    m_places.m_changed.wait(lock, stop, [this] { return m_places.m_free > 0; });
    --m_places.m_free;
}

Places::Taken::~Taken() {
    {
        const std::lock_guard lock(m_places.m_mutex);
        ++m_places.m_free;
    }
    m_places.m_changed.notify_all();
}

} // namespace fenlo::whisper
