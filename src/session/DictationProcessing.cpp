// From the recorded chunks to an outcome.

#include "session/DictationSession.h"

#include "base/Background.h"
#include "base/Clock.h"
#include "base/Log.h"
#include "session/EarlyRecognition.h"
#include "session/KeptTakes.h"
#include "session/TakeNote.h"
#include "settings/Config.h"
#include "shell/MenuBarController.h"
#include "shell/OverlayWindow.h"

#include <utility>

namespace fenlo {

void DictationSession::tryAgain() {
    if (m_isRecording || m_isProcessing || m_hooks.isMeetingActive() || m_hooks.isScreenLocked())
        return;
    std::shared_ptr<TakeNote> note = m_services.keptTakes.newest();
    if (!note)
        return;
    logInfo("Trying the last take again");
    m_hooks.askKeyringAgain();
    const Take take = note->take();
    m_isCommandMode = take.isCommand;
    m_capturedContext = m_services.contextReader.read();
    m_services.menuBar.setFace(IconFace::processing);
    if (m_services.config.get().showOverlay)
        m_services.overlay.showRetrying(take.duration, m_capturedContext->appName);
    processChunks(take, std::move(note), Source::keptTake);
}

void DictationSession::takesRecovered(bool foundAny) {
    if (foundAny && m_services.config.get().showOverlay && !m_isRecording && !m_isProcessing)
        m_services.overlay.showNotice({keptLine});
    m_services.menuBar.refreshMenu();
}

void DictationSession::processChunks(Take take, std::shared_ptr<TakeNote> note, Source source) {
    m_isProcessing = true;
    m_isCancelled = false;
    m_isDropped = std::make_shared<std::atomic<bool>>(false);
    Job job{std::move(take), std::move(note), source, m_isDropped};
    m_services.background.run([this, job = std::move(job), listener = listener()](std::stop_token stop) mutable {
        walk(std::move(job), std::move(listener), stop);
    });
}

TakeListener DictationSession::listener() {
    MainQueue& mainQueue = m_services.mainQueue;
    TakeListener listener;
    listener.isCancelled = [this] { return m_isCancelled.load(); };
    listener.onChunk = [this, &mainQueue](int index, int total) {
        mainQueue.call([this, index, total] {
            if (m_services.config.get().showOverlay)
                m_services.overlay.showChunkProgress(index, total);
        });
    };
    listener.situation = [this, &mainQueue] { return mainQueue.call([this] { return situation(); }); };
    return listener;
}

/// On a worker: from the recording to its delivery. All the while the note knows what is not delivered yet.
void DictationSession::walk(Job job, TakeListener listener, std::stop_token stop) {
    MainQueue& mainQueue = m_services.mainQueue;
    Trouble trouble;
    listener.onProgress = [&](const Take& rest) { job.note->write(rest); };
    listener.onFault = [&](TakeFault fault) { trouble.fault = fault; };
    TakeOutcome result = m_services.pipeline.run(job.take, listener, stop);
    if (*job.isDropped && std::holds_alternative<outcome::Failed>(result))
        result = outcome::Cancelled{}; // the user gave up on it and wants no notice

    const bool wasCancelled = std::holds_alternative<outcome::Cancelled>(result);
    const bool hasWords = !wasCancelled && !std::holds_alternative<outcome::Failed>(result);
    if (!hasWords) {
        if (wasCancelled && job.source == Source::microphone)
            job.note->discard();
        else
            trouble.isKept = m_services.keptTakes.keep(*job.note);
        job.note.reset(); // from here on it can be tried again
    }
    const bool isDelivered = mainQueue.call([&] {
        if (!*job.isDropped) // or a later take may be under way
            m_services.early.drop();
        return deliver(result, job.take.duration, trouble);
    });
    if (!hasWords)
        return;
    if (isDelivered) {
        job.note->discard();
        return;
    }
    trouble.isKept = m_services.keptTakes.keep(*job.note);
    job.note.reset();
    mainQueue.call([&] { tell(TakeFault::ownFault, trouble.isKept); });
}

TakeSituation DictationSession::situation() const {
    TakeSituation situation{m_isCommandMode, m_capturedContext, m_lastText, {}};
    if (m_lastPasteTime)
        situation.secondsSincePaste = m_services.clock.now() - *m_lastPasteTime;
    return situation;
}

void DictationSession::cancelProcessing() {
    logInfo("Cancelled by user");
    m_isCancelled = true;
    if (m_isDropped)
        *m_isDropped = true;
    m_services.early.drop(); // behind the marks: the worker that waits for it looks at them
    m_services.overlay.hide();
    becomeIdle();
}

} // namespace fenlo
