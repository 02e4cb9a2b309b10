#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>

namespace fenlo {

/// One blocking call serves all who ask for it while it is under way.
///
/// Threads: any; no lock is held during the call.
template <typename Result>
class SharedCall {
public:
    /// The first to come runs `call` on its own thread, and the others wait for its result. When the first is asked to
    /// stop, another runs its call. Nothing when `stop` asks the caller itself.
    std::optional<Result> run(const std::function<std::optional<Result>()>& call, std::stop_token stop) {
        std::unique_lock lock(m_mutex);
        while (!stop.stop_requested()) {
            if (!m_round)
                return lead(call, stop, lock);
            const std::shared_ptr<Round> round = m_round;
            m_ended.wait(lock, stop, [&] { return round->isOver; });
            if (round->isOver && !round->wasStopped)
                return round->result;
        }
        return {};
    }

private:
    struct Round {
        bool isOver = false;
        bool wasStopped = false;
        std::optional<Result> result;
    };

    std::optional<Result> lead(const std::function<std::optional<Result>()>& call, const std::stop_token& stop,
                               std::unique_lock<std::mutex>& lock) {
        const auto round = m_round = std::make_shared<Round>();
        lock.unlock();
        std::optional<Result> result;
        try {
            result = call();
        } catch (...) {
            lock.lock();
            end(*round, stop, {});
            throw;
        }
        lock.lock();
        end(*round, stop, result);
        return result;
    }

    void end(Round& round, const std::stop_token& stop, std::optional<Result> result) {
        round.isOver = true;
        round.wasStopped = stop.stop_requested();
        round.result = std::move(result);
        m_round.reset();
        m_ended.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable_any m_ended;
    std::shared_ptr<Round> m_round; // null while there is no call
};

} // namespace fenlo
