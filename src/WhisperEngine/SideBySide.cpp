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

} // namespace fenlo::whisper
