#include "session/TakePipeline.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"
#include "session/FaultOf.h"
#include "settings/Config.h"
#include "text/DictationPrompt.h"
#include "text/VocabularyLearning.h"
#include "text/VoiceCorrection.h"

#include <algorithm>
#include <exception>
#include <future>

namespace fenlo {

namespace {

constexpr std::size_t shownCharacters = 50;

/// Deletes a file that was made from a chunk; never the chunk itself.
class IsolatedFile {
public:
    IsolatedFile(const std::filesystem::path& isolated, const std::filesystem::path& chunk) {
        if (isolated != chunk)
            m_file = isolated;
    }
    ~IsolatedFile() {
        if (m_file)
            files::removeQuietly(*m_file);
    }
    IsolatedFile(const IsolatedFile&) = delete;
    IsolatedFile& operator=(const IsolatedFile&) = delete;

    const std::optional<std::filesystem::path>& file() const { return m_file; }

private:
    std::optional<std::filesystem::path> m_file;
};

TakeOutcome cancelled() {
    logInfo("Discarding result (cancelled)");
    return outcome::Cancelled{};
}

/// A transcript in a script without Latin letters is never sent to a language model.
bool hasLatinLetter(const std::string& text) {
    return std::any_of(text.begin(), text.end(),
                       [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); });
}

} // namespace

TakePipeline::TakePipeline(Config& config, TakeSteps steps) : m_config(config), m_steps(std::move(steps)) {}

TakeOutcome TakePipeline::run(const Take& take, const TakeListener& listener, std::stop_token stop) {
    try {
        Words words = transcribe(take, listener, stop);
        if (auto* ended = std::get_if<TakeOutcome>(&words))
            return std::move(*ended);
        return decideGuarded(std::get<std::string>(words), listener, stop);
    } catch (...) {
        logError("Transcription error: {}", messageOf(std::current_exception()));
        listener.onFault(faultOf(std::current_exception()));
        return outcome::Failed{};
    }
}

TakePipeline::Words TakePipeline::transcribe(Take rest, const TakeListener& listener, std::stop_token stop) {
    const std::size_t total = rest.chunks.size();
    std::optional<std::string> previousText;
    if (!rest.texts.empty())
        previousText = rest.texts.back();
    bool isRescued = false;
    for (std::size_t index = 1; !rest.chunks.empty(); ++index) {
        if (listener.isCancelled())
            return cancelled();
        if (total >= 2)
            listener.onChunk(static_cast<int>(index), static_cast<int>(total));

        const std::filesystem::path chunk = rest.chunks.front();
        const IsolatedFile isolated(m_steps.isolateVoice(chunk), chunk);
        if (isolated.file()) {
            rest.isolated = isolated.file();
            listener.onProgress(rest);
            rest.isolated.reset();
        }
        logInfo("Transcribing chunk {}/{} ({:.1f}s total){}...", index, total, rest.duration,
                isolated.file() ? " (voice-isolated)" : "");

        TranscribeRequest request;
        request.audio = isolated.file().value_or(chunk);
        if (const auto context = listener.situation().context)
            request.appName = context->appBundleId;
        request.hintText = previousText; // the context of the next chunk
        request.speechRatio = rest.speechRatio;
        request.clipDuration = rest.duration;
        const auto text = recognise(request, isRescued, listener, stop);
        if (!text)
            return listener.isCancelled() ? cancelled() : TakeOutcome(outcome::Failed{});
        rest.chunks.erase(rest.chunks.begin());
        if (!text::trimWhitespace(*text).empty()) {
            rest.texts.push_back(*text);
            previousText = text;
        }
        listener.onProgress(rest);
        files::removeQuietly(chunk);
    }
    // After this point a cancel frees the session, but the text is still delivered.
    if (listener.isCancelled())
        return cancelled();
    return text::join(rest.texts, " ");
}

/// Once the service has failed, the engine on this machine recognises the rest of the take.
std::optional<std::string> TakePipeline::recognise(const TranscribeRequest& request, bool& isRescued,
                                                   const TakeListener& listener, std::stop_token stop) {
    if (!isRescued)
        try {
            return m_steps.transcribe(request, stop);
        } catch (...) {
            logError("Transcription error: {}", messageOf(std::current_exception()));
            listener.onFault(faultOf(std::current_exception()));
        }
    if (stop.stop_requested() || listener.isCancelled())
        return {};
    auto text = rescue(request, stop);
    isRescued = text.has_value();
    return text;
}

/// Also nothing when the engine recognises no words: there may be some all the same.
std::optional<std::string> TakePipeline::rescue(const TranscribeRequest& request, std::stop_token stop) {
    try {
        if (auto text = m_steps.rescue(request, stop); text && !text::trimWhitespaceAndNewlines(*text).empty())
            return text;
    } catch (...) {
        logError("Transcription error on this machine: {}", messageOf(std::current_exception()));
    }
    return {};
}

TakeOutcome TakePipeline::decideGuarded(const std::string& rawText, const TakeListener& listener,
                                        std::stop_token stop) {
    try {
        return decide(rawText, listener, stop);
    } catch (const std::future_error&) {
        throw; // the main queue has ended, so nothing can be delivered any more
    } catch (...) {
        logError("the words go on as they were spoken: {}", messageOf(std::current_exception()));
    }
    outcome::Dictation spoken;
    spoken.text = spoken.rawText = rawText;
    spoken.rewriteFailed = spoken.rewriteRequested = true;
    return spoken;
}

TakeOutcome TakePipeline::decide(const std::string& rawText, const TakeListener& listener, std::stop_token stop) {
    logInfo("Result: '{}'", rawText);
    if (text::trimWhitespace(rawText).empty())
        return outcome::Empty{};

    const TakeSituation situation = listener.situation();
    if (situation.secondsSincePaste && *situation.secondsSincePaste < voiceCorrectionWindow) {
        if (const auto correction = matchCorrection(rawText)) {
            logInfo("Voice correction: '{}' → replacing with correction '{}'", situation.lastText, *correction);
            learnCorrection(m_config, *correction);
            return outcome::Correction{*correction};
        }
    }
    if (situation.isCommandMode && situation.context) {
        logInfo("AI Command: '{}'", rawText);
        if (const auto answer = m_steps.runAICommand(rawText, *situation.context, stop))
            return outcome::CommandAnswer{text::withoutControls(*answer), *situation.context};
        logError("AI Command failed, inserting raw text");
        return outcome::CommandFailed{rawText};
    }
    if (const auto expansion = m_steps.matchSnippet(rawText)) {
        logInfo("Snippet match: '{}'", text::firstCharacters(*expansion, shownCharacters));
        return outcome::Snippet{*expansion};
    }
    return dictate(rawText, situation, stop);
}

TakeOutcome TakePipeline::dictate(const std::string& rawText, const TakeSituation& situation, std::stop_token stop) {
    const Settings settings = m_config.get();

    outcome::Dictation dictation;
    dictation.rawText = rawText;
    dictation.text = rawText;
    // Voice commands are never applied to text headed for translation.
    if (settings.voiceCommands && !isTranslating(settings)) {
        const std::string bundleId = situation.context ? situation.context->appBundleId : "";
        auto [text, actions] = m_steps.processVoiceCommands(rawText, bundleId);
        dictation.text = std::move(text);
        dictation.actions = std::move(actions);
    }
    dictation.rewriteRequested = settings.smartRewrite || isTranslating(settings);
    if (dictation.rewriteRequested && situation.context && hasLatinLetter(dictation.text)) {
        const std::string language = settings.outputMode == OutputMode::transliterate ? "en" : settings.language;
        const auto meta = m_steps.lastMeta();
        const auto uncertainParts = meta ? meta->lowConfidenceRanges : std::vector<std::string>();
        Rewrite rewrite = m_steps.rewrite(dictation.text, *situation.context, language, uncertainParts, stop);
        dictation.rewriteFailed = !rewrite.wasRewritten;
        dictation.wasRewritten = rewrite.wasRewritten;
        rewrite.text = text::withoutControls(rewrite.text);
        if (rewrite.wasRewritten)
            learnFromRewrite(m_config, dictation.text, rewrite.text);
        dictation.text = std::move(rewrite.text);
    }
    m_steps.recordTranscription(dictation.text);
    return dictation;
}

} // namespace fenlo
