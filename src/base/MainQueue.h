#pragma once

#include <functional>
#include <future>
#include <memory>
#include <type_traits>
#include <utility>

namespace fenlo {

/// A delayed or repeating task of a MainQueue. Destroying or cancelling it keeps the task from running again.
///
/// Threads: main thread only.
class Timer {
public:
    Timer() = default;
    /// `cancel` is called at most once.
    explicit Timer(std::function<void()> cancel) : m_cancel(std::move(cancel)) {}
    Timer(Timer&& other) noexcept : m_cancel(std::exchange(other.m_cancel, nullptr)) {}
    Timer& operator=(Timer&& other) noexcept;
    ~Timer() { cancel(); }

    void cancel();
    /// Lets the task run although nobody holds the timer any more.
    void keep() { m_cancel = nullptr; }
    bool isSet() const { return m_cancel != nullptr; }

private:
    std::function<void()> m_cancel;
};

/// The way to the main thread, which owns all session flags, windows, menus and the insertion.
///
/// Threads: post() and call() on any thread; postAfter() and every() on the main thread.
/// Errors:  once the loop has ended tasks are dropped, and a call() that waits throws std::future_error, which ends
///          the worker (Background catches it).
class MainQueue {
public:
    using Task = std::function<void()>;

    virtual ~MainQueue() = default;

    /// Runs the task on the main thread, after those posted before.
    virtual void post(Task task) = 0;
    [[nodiscard]] virtual Timer postAfter(double seconds, Task task) = 0;
    [[nodiscard]] virtual Timer every(double seconds, Task task) = 0;
    virtual bool isMainThread() const = 0;

    /// Hops to the main thread, waits, and hands back what `work` returns or throws.
    template <typename Work>
    auto call(Work work) -> std::invoke_result_t<Work>;
};

template <typename Work>
auto MainQueue::call(Work work) -> std::invoke_result_t<Work> {
    if (isMainThread())
        return work();
    auto task = std::make_shared<std::packaged_task<std::invoke_result_t<Work>()>>(std::move(work));
    auto result = task->get_future();
    post([task = std::move(task)] { (*task)(); });
    return result.get();
}

} // namespace fenlo
