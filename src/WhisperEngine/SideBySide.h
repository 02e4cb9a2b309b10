#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <stop_token>

namespace fenlo::whisper {

/// Runs `work(index)` for each index on at most `workers` threads, and throws the first failure when all have ended.
void runSideBySide(std::size_t count, std::size_t workers, const std::function<void(std::size_t)>& work);

/// Bounds how many pieces of work are under way, whoever began them.
///
/// Threads: any.
class Places {
public:
    explicit Places(int count) : m_free(count) {}

    class Taken {
    public:
        /// Waits for a place. After a stop request it does not wait, since the work ends at once.
        Taken(Places& places, std::stop_token stop);
        ~Taken();
        Taken(const Taken&) = delete;
        Taken& operator=(const Taken&) = delete;

    private:
        Places& m_places;
    };

private:
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    int m_free;
};

} // namespace fenlo::whisper
