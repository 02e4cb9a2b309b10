#pragma once

#include <functional>
#include <memory>

namespace fenlo::whisper {

/// Threads that share the work of one call: the caller works too, and run() returns when all is done.
///
/// Threads: run() may be called from several threads at once. The calls share the workers, and each also works on its
///          caller's thread.
/// Errors:  run() throws what `work` threw, the first of several, once no thread is at that call any more. Tasks that
///          have not begun are skipped then. The pool can be used again.
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
