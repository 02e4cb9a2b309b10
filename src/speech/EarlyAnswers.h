#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <utility>
#include <vector>

namespace fenlo {

/// Answers that were found while the running take still went on. One counts for the finished take only where that asks
/// the same question; so it is the answer that the finished take would have got.
///
/// Threads: any. One run ahead at a time, and beside it those who ask for finished clips.
/// Errors:  what `find` throws passes; where there is nothing to wait for any more, `throwCancelled` is called, which
///          must throw.
template <typename Question, typename Answer>
class EarlyAnswers {
public:
    using Find = std::function<Answer()>;

    explicit EarlyAnswers(void (*throwCancelled)()) : m_throwCancelled(throwCancelled) {}

    /// For a run ahead, which `run` stops: finds what is not known, and keeps it. A question that comes after finish()
    /// or forget() is cancelled.
    Answer ahead(const Question& question, const std::stop_source& run, const Find& find) {
        {
            std::lock_guard lock(m_mutex);
            if (!m_isOpen || run.stop_requested())
                m_throwCancelled();
            if (const Answer* known = findKnown(question))
                return *known;
            m_underWay = question;
            m_run = run;
        }
        try {
            Answer answer = find();
            end(question, &answer);
            return answer;
        } catch (...) {
            end(question, nullptr);
            throw;
        }
    }

    /// For a finished clip: takes what is known, and waits for it while it is being found. Once the take has ended, a
    /// run ahead that is at another question is stopped. Cancelled when the take is dropped meanwhile.
    Answer finished(const Question& question, const std::stop_token& stop, const Find& find) {
        {
            std::unique_lock lock(m_mutex);
            const unsigned dropped = m_dropped;
            m_changed.wait(lock, stop, [&] { return m_underWay != question; });
            if (stop.stop_requested() || dropped != m_dropped)
                m_throwCancelled();
            if (const Answer* known = findKnown(question)) {
                ++m_taken;
                return *known;
            }
            if (m_underWay && !m_isOpen)
                m_run.request_stop();
        }
        return find();
    }

    /// Whether it is worth to make up a question.
    bool hasAny() const {
        std::lock_guard lock(m_mutex);
        return !m_known.empty() || m_underWay;
    }

    /// A new take begins.
    void begin() {
        forget();
        std::lock_guard lock(m_mutex);
        m_isOpen = true;
        m_taken = 0;
    }
    /// The take has ended: the run ahead may end the question that it is at.
    void finish() {
        std::lock_guard lock(m_mutex);
        m_isOpen = false;
    }
    /// The take is dropped, or done: nothing stays.
    void forget() {
        std::lock_guard lock(m_mutex);
        m_isOpen = false;
        ++m_dropped;
        m_known.clear();
        m_underWay.reset(); // its answer is not kept
        m_run.request_stop();
        m_changed.notify_all();
    }

    std::size_t taken() const { // answers that finished clips have taken since begin()
        std::lock_guard lock(m_mutex);
        return m_taken;
    }

private:
    struct Known {
        Question question;
        Answer answer;
    };

    void end(const Question& question, const Answer* answer) {
        std::lock_guard lock(m_mutex);
        if (m_underWay != question)
            return; // of a take that was dropped
        if (answer)
            m_known.push_back({question, *answer});
        m_underWay.reset();
        m_changed.notify_all();
    }

    const Answer* findKnown(const Question& question) const {
        const auto found = std::ranges::find(m_known, question, &Known::question);
        return found == m_known.end() ? nullptr : &found->answer;
    }

    void (*const m_throwCancelled)();
    mutable std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::vector<Known> m_known;
    std::optional<Question> m_underWay;
    std::stop_source m_run{std::nostopstate};
    bool m_isOpen = false;
    unsigned m_dropped = 0; // how often
    std::size_t m_taken = 0;
};

} // namespace fenlo
