#include "WhisperEngine/runtime/ThreadPool.h"

#include "WhisperEngine/runtime/SingleThreadedLibraries.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <hwy/cache_control.h>
#include <mutex>
#include <thread>
#include <vector>

namespace fenlo::whisper {

namespace {

/// One call of run(). It lives on its caller's stack; the caller returns only when no worker uses it any more.
struct Job {
    const std::function<void(int)>& work;
    int tasks;
    std::atomic<int> next{0};
    std::atomic<int> workers{0}; // changes under the pool's mutex
    std::atomic_flag hasFailed{};
    std::exception_ptr failure{}; // the first one's; its thread alone writes it, the caller reads it when all have left

    /// Never throws: whoever works on a job must be able to leave it in order.
    void drain() {
        try {
            for (int task = next++; task < tasks; task = next++)
                work(task);
        } catch (...) {
            if (!hasFailed.test_and_set())
                failure = std::current_exception();
            next = tasks; // tasks that have not begun are skipped
        }
    }

    void rethrowFailure() const {
        if (failure)
            std::rethrow_exception(failure);
    }
};

/// Longer than a decoder computes between two calls, and than its threads' shares of one differ. Waking a sleeping
/// thread takes as long, and each of a token's seventy calls would wait for it.
constexpr std::chrono::microseconds lingering{50};

/// Waits a moment, unlocked, before the thread goes to sleep. `ready` reads atomics only.
template <class Ready>
void linger(std::unique_lock<std::mutex>& lock, const Ready& ready) {
    using Clock = std::chrono::steady_clock;
    lock.unlock();
    const Clock::time_point end = Clock::now() + lingering;
    for (int pauses = 1; !ready() && (pauses % 16 != 0 || Clock::now() < end); ++pauses)
        hwy::Pause();
    lock.lock();
}

} // namespace

struct ThreadPool::State {
    std::mutex mutex;
    std::condition_variable wake;   // a job came, or the end
    std::condition_variable done;   // a worker left its job
    std::deque<Job*> jobs;          // those that may have tasks left, the eldest first
    std::atomic<unsigned> calls{0}; // of run(); changes under the mutex
    bool stopping = false;
    bool lingers = false; // not where the awaited thread may need the core of the one that waits
    std::vector<std::jthread> threads;

    ~State() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
        }
        wake.notify_all();
        threads.clear(); // joins them while the rest still lives
    }

    void retire(Job& job) { std::erase(jobs, &job); }

    void serve() {
        const SingleThreadedLibraries alone;
        std::unique_lock lock(mutex);
        for (;;) {
            if (lingers && !stopping && jobs.empty())
                linger(lock, [this, before = calls.load()] { return calls != before; });
            wake.wait(lock, [this] { return stopping || !jobs.empty(); });
            if (stopping)
                return;
            Job& job = *jobs.front();
            ++job.workers;
            lock.unlock();
            job.drain();
            lock.lock();
            retire(job);
            if (--job.workers == 0)
                done.notify_all();
        }
    }
};

ThreadPool::ThreadPool(int threads) : m_state(std::make_unique<State>()) {
    const auto cores = static_cast<int>(std::thread::hardware_concurrency());
    if (threads <= 0)
        threads = std::max(1, cores);
    m_state->lingers = threads <= cores;
    for (int i = 1; i < threads; ++i)
        m_state->threads.emplace_back([state = m_state.get()] { state->serve(); });
}

ThreadPool::~ThreadPool() = default;

int ThreadPool::size() const {
    return static_cast<int>(m_state->threads.size()) + 1;
}

void ThreadPool::run(int tasks, const std::function<void(int task)>& work) {
    const SingleThreadedLibraries alone;
    Job job{work, tasks};
    const int wanted = std::min(tasks, size()) - 1;
    if (wanted <= 0) {
        job.drain();
        return job.rethrowFailure();
    }

    {
        std::lock_guard lock(m_state->mutex);
        m_state->jobs.push_back(&job);
        ++m_state->calls;
    }
    if (wanted == 1)
        m_state->wake.notify_one();
    else
        m_state->wake.notify_all(); // one call of the kernel, however many sleep
    job.drain();
    std::unique_lock lock(m_state->mutex);
    m_state->retire(job);
    const auto isDone = [&job] { return job.workers == 0; };
    if (m_state->lingers && !isDone())
        linger(lock, isDone);
    m_state->done.wait(lock, isDone);
    lock.unlock();
    job.rethrowFailure();
}

} // namespace fenlo::whisper
