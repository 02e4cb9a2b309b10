#pragma once

#include <functional>
#include <memory>

namespace fenlo::whisper {

/// Threads that share the work of one call: the caller works too, and run() returns when all is done.
///
/// Threads: run() may be called from several threads at once; the calls take turns at the workers, and each makes
///          progress on its caller's thread in any case.
/// Errors:  what `work` throws comes out of run(), the first of several, when no thread is at that call any more; tasks
///          that nobody had begun are left out then. The pool stays as good as new.
class ThreadPool {
public:
    /// `threads` counts the caller, so 1 starts none. 0 takes one for each core.
    explicit ThreadPool(int threads = 0);
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    int size() const;

    /// Calls `work(task)` for each task in [0, tasks), in any order, on any of the threads. What a task computes must
    /// not depend on which thread runs it, so that results repeat bit for bit.
    void run(int tasks, const std::function<void(int task)>& work);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace fenlo::whisper
