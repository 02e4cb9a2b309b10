#pragma once

#include "WhisperEngine/ModelCalls.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <stop_token>
#include <vector>

namespace fenlo::whisper {

/// Joins the steps of windows that are decoded at the same time, each on a thread of its own, so that the model reads
/// its weights once for all of them.
///
/// A window is decoded as if it were alone. Its step waits until every other window has come to its next one too; the
/// last one runs the model for all. A window that ends no longer counts, and one that begins joins at the next step.
/// Nobody steps while a window waits to be encoded: encoding takes all cores, so nothing is lost by it, and the windows
/// then go on together instead of a few at a time.
///
/// Threads: any. Between two steps of a window its thread should not wait for something slow, since the others do.
/// Errors:  those of the model, for the window that they concern; WhisperError `cancelled` when a window that waits is
///          stopped.
class StepBatch {
public:
    explicit StepBatch(const TextDecoderModel& model) : m_model(model) {}

    /// A window while it is decoded.
    class Window {
    public:
        explicit Window(StepBatch& batch);
        ~Window();
        Window(const Window&) = delete;
        Window& operator=(const Window&) = delete;

        /// Returns when the model has run.
        void step(const TextDecoderModel::Call& call, std::stop_token stop);

    private:
        StepBatch& m_batch;
    };

    /// A window while it is encoded: one at a time.
    class Encoding {
    public:
        Encoding(StepBatch& batch, std::stop_token stop);
        ~Encoding();
        Encoding(const Encoding&) = delete;
        Encoding& operator=(const Encoding&) = delete;

    private:
        StepBatch& m_batch;
    };

private:
    struct Step {
        const TextDecoderModel::Call& call;
        bool isDone = false;
        std::exception_ptr failure = {};
    };

    bool isDue() const { return !m_isStepping && m_encodings == 0 && std::ssize(m_waiting) == m_windows; }
    void runAll(std::unique_lock<std::mutex>& lock);
    void call(std::vector<Step*>& steps) const;

    const TextDecoderModel& m_model;
    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    std::ptrdiff_t m_windows = 0; // that are being decoded
    int m_encodings = 0;          // wanted or under way
    bool m_isEncoding = false;
    bool m_isStepping = false;
    std::vector<Step*> m_waiting; // on the stacks of their threads
    std::vector<Step*> m_running; // of the thread that runs the model
};

} // namespace fenlo::whisper
