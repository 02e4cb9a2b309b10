#include "WhisperEngine/TextDecoder/StepBatch.h"

#include "WhisperEngine/WhisperError.h"

#include <algorithm>
#include <utility>

namespace fenlo::whisper {

namespace {

[[noreturn]] void cancel() {
    throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
}

} // namespace

StepBatch::Window::Window(StepBatch& batch) : m_batch(batch) {
    const std::lock_guard lock(m_batch.m_mutex);
    ++m_batch.m_windows;
}

StepBatch::Window::~Window() {
    {
        const std::lock_guard lock(m_batch.m_mutex);
        --m_batch.m_windows;
    }
    m_batch.m_changed.notify_all();
}

void StepBatch::Window::step(const TextDecoderModel::Call& call, std::stop_token stop) {
    Step step{call};
    std::unique_lock lock(m_batch.m_mutex);
    m_batch.m_waiting.push_back(&step);
    const auto goesOn = [&] { return step.isDone || m_batch.isDue(); };
    if (!m_batch.m_changed.wait(lock, stop, goesOn)) {
        if (std::erase(m_batch.m_waiting, &step) > 0)
            cancel();                                              // the window's end wakes the others
        m_batch.m_changed.wait(lock, [&] { return step.isDone; }); // another thread runs it already
    }
    if (!step.isDone)
        m_batch.runAll(lock);
    if (step.failure)
        std::rethrow_exception(step.failure);
}

/// Of all that wait, the caller's included.
void StepBatch::runAll(std::unique_lock<std::mutex>& lock) {
    m_isStepping = true;
    std::swap(m_running, m_waiting);
    lock.unlock();
    call(m_running);
    lock.lock();
    for (Step* step : m_running)
        step->isDone = true;
    m_running.clear();
    m_isStepping = false;
    m_changed.notify_all();
}

/// A window that the model refuses fails alone.
void StepBatch::call(std::vector<Step*>& steps) const {
    if (steps.size() > 1)
        try {
            std::vector<TextDecoderModel::Call> calls;
            for (const Step* step : steps)
                calls.push_back(step->call);
            return m_model.predict(calls);
        } catch (...) { // now each for itself
        }
    for (Step* step : steps)
        try {
            m_model.predict(step->call.inputs, step->call.outputs, step->call.scratch);
        } catch (...) {
            step->failure = std::current_exception();
        }
}

StepBatch::Encoding::Encoding(StepBatch& batch, std::stop_token stop) : m_batch(batch) {
    std::unique_lock lock(m_batch.m_mutex);
    ++m_batch.m_encodings;
    if (!m_batch.m_changed.wait(lock, stop, [this] { return !m_batch.m_isEncoding; })) {
        --m_batch.m_encodings;
        m_batch.m_changed.notify_all();
        cancel();
    }
    m_batch.m_isEncoding = true;
}

StepBatch::Encoding::~Encoding() {
    {
        const std::lock_guard lock(m_batch.m_mutex);
        m_batch.m_isEncoding = false;
        --m_batch.m_encodings;
    }
    m_batch.m_changed.notify_all();
}

} // namespace fenlo::whisper
