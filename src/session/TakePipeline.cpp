#include "session/TakePipeline.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"
#include "settings/Config.h"
#include "text/DictationPrompt.h"
#include "text/VocabularyLearning.h"
#include "text/VoiceCorrection.h"

#include <algorithm>

namespace fenlo {

namespace {

constexpr std::size_t shownCharacters = 50;

/// Deletes the files of a take that are still there when it ends, however it ends.
class ChunkFiles {
public:
    explicit ChunkFiles(const std::vector<std::filesystem::path>& files) : m_files(files) {}
    ~ChunkFiles() {
        for (const auto& file : m_files)
            files::removeQuietly(file);
    }
    ChunkFiles(const ChunkFiles&) = delete;
    ChunkFiles& operator=(const ChunkFiles&) = delete;

private:
    const std::vector<std::filesystem::path>& m_files;
};

TakeOutcome cancelled() {
    log("[Fenlo] Discarding result (cancelled)");
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
    const ChunkFiles cleanUp(take.chunks);
    Words words = transcribe(take, listener, stop);
    if (auto* ended = std::get_if<TakeOutcome>(&words))
        return std::move(*ended);
    return decide(std::get<std::string>(words), listener, stop);
}

TakePipeline::Words TakePipeline::transcribe(const Take& take, const TakeListener& listener, std::stop_token stop) {
    const int total = static_cast<int>(take.chunks.size());
    std::vector<std::string> parts;
    std::optional<std::string> previousText;
    int index = 0;
    for (const auto& chunk : take.chunks) {
        ++index;
        if (listener.isCancelled())
            return cancelled();
        if (total >= 2)
            listener.onChunk(index, total);

        const std::filesystem::path isolated = m_steps.isolateVoice(chunk);
        log("[Fenlo] Transcribing chunk " + std::to_string(index) + "/" + std::to_string(total) + " (" +
            text::fixed(take.duration, 1) + "s total)" + (isolated == chunk ? "" : " (voice-isolated)") + "...");

        TranscribeRequest request;
        request.audio = isolated;
        if (const auto context = listener.situation().context)
            request.appName = context->appBundleId;
        request.hintText = previousText; // carries a long take's context from chunk to chunk
        request.speechRatio = take.speechRatio;
        request.clipDuration = take.duration;
        std::string text;
        try {
            text = text::withoutControls(m_steps.transcribe(request, stop));
        } catch (const std::exception& error) {
            files::removeQuietly(isolated);
            log(std::string("[Fenlo] ERROR: Transcription error: ") + error.what());
            return TakeOutcome(outcome::Failed{});
        }
        files::removeQuietly(chunk);
        files::removeQuietly(isolated);
        if (!text::trimWhitespace(text).empty()) {
            parts.push_back(text);
            previousText = std::move(text);
        }
    }
    // A cancel that comes later frees the session, but the text is still delivered.
    if (listener.isCancelled())
        return cancelled();
    return text::join(parts, " ");
}

TakeOutcome TakePipeline::decide(const std::string& rawText, const TakeListener& listener, std::stop_token stop) {
    log("[Fenlo] Result: '" + rawText + "'");
    if (text::trimWhitespace(rawText).empty())
        return outcome::Empty{};

    const TakeSituation situation = listener.situation();
    if (situation.secondsSincePaste && *situation.secondsSincePaste < voiceCorrectionWindow) {
        if (const auto correction = matchCorrection(rawText)) {
            log("[Fenlo] Voice correction: '" + situation.lastText + "' → replacing with correction '" + *correction +
                "'");
            learnCorrection(m_config, *correction);
            return outcome::Correction{*correction};
        }
    }
    if (situation.isCommandMode && situation.context) {
        log("[Fenlo] AI Command: '" + rawText + "'");
        if (const auto answer = m_steps.runAICommand(rawText, *situation.context, stop))
            return outcome::CommandAnswer{text::withoutControls(*answer), *situation.context};
        log("[Fenlo] ERROR: AI Command failed, inserting raw text");
        return outcome::CommandFailed{rawText};
    }
    if (const auto expansion = m_steps.matchSnippet(rawText)) {
        log("[Fenlo] Snippet match: '" + text::firstCharacters(*expansion, shownCharacters) + "'");
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
        const std::string language = settings.outputMode == "transliterate" ? "en" : settings.language;
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
