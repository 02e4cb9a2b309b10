#pragma once

#include "session/Take.h"
#include "shell/TakeFault.h"
#include "speech/Transcriber.h"
#include "text/FocusContext.h"
#include "text/Rewrite.h"
#include "text/VoiceCommandResult.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

namespace fenlo {

class Config;

/// The services that a take passes through, in their order. All must be filled in.
struct TakeSteps {
    using File = std::filesystem::path;

    /// A file to transcribe: the given one, or a new temporary one with the user's voice alone.
    std::function<File(const File& chunk)> isolateVoice;
    /// The text of one chunk; throws TranscriberError and the like.
    std::function<std::string(const TranscribeRequest&, std::stop_token)> transcribe;
    /// The same by the engine on this machine; nothing when there is none or transcribe() has used it already.
    std::function<std::optional<std::string>(const TranscribeRequest&, std::stop_token)> rescue;
    std::function<std::optional<TranscriptionMeta>()> lastMeta;
    /// The answer to a spoken instruction, or nothing.
    std::function<std::optional<std::string>(const std::string& instruction, const FocusContext&, std::stop_token)>
        runAICommand;
    /// The expansion of the snippet whose trigger the text is, or nothing.
    std::function<std::optional<std::string>(const std::string& text)> matchSnippet;
    std::function<VoiceCommandResult(const std::string& text, const std::string& appBundleId)> processVoiceCommands;
    /// Never throws.
    std::function<Rewrite(const std::string& text, const FocusContext&, const std::string& language,
                          const std::vector<std::string>& uncertainParts, std::stop_token)>
        rewrite;
    std::function<void(const std::string& text)> recordTranscription;
};

/// What the session knows at the moment the pipeline asks.
struct TakeSituation {
    bool isCommandMode = false;
    std::optional<FocusContext> context;
    std::string lastText;                    // delivered last
    std::optional<double> secondsSincePaste; // none before the first paste
};

/// The session's side of a running take. Called on the worker.
struct TakeListener {
    std::function<bool()> isCancelled = [] { return false; };
    std::function<void(int index, int total)> onChunk = [](int, int) {};
    std::function<TakeSituation()> situation = [] { return TakeSituation{}; };
    /// The rest of the take, told before a file of it is deleted.
    std::function<void(const Take& rest)> onProgress = [](const Take&) {};
    /// What the recogniser failed with, whether or not the take could be rescued.
    std::function<void(TakeFault)> onFault = [](TakeFault) {};
};

/// The result of a take. The session delivers it.
namespace outcome {

struct Cancelled {};
struct Failed {}; // TakeListener::onFault was told why
struct Empty {};
struct Correction {
    std::string correction;
};
struct CommandAnswer {
    std::string answer;
    FocusContext context;
};
struct CommandFailed {
    std::string rawText;
};
struct Snippet {
    std::string expansion;
};
struct Dictation {
    std::vector<std::string> actions;
    std::string text;
    std::string rawText;
    bool rewriteFailed = false;
    bool rewriteRequested = false;
    bool wasRewritten = false; // a language model saw the text
};

} // namespace outcome

using TakeOutcome = std::variant<outcome::Cancelled, outcome::Failed, outcome::Empty, outcome::Correction,
                                 outcome::CommandAnswer, outcome::CommandFailed, outcome::Snippet, outcome::Dictation>;

/// Turns the chunks of a take into words, and the words into an outcome. Control characters in the answers of
/// recognisers and language models are removed here.
///
/// Threads: run() blocks a worker for as long as the recogniser and the language model take.
/// Errors:  none, whatever a step throws; every fault is an outcome and a log line. When a step fails after the words
///          are known, they are delivered as they were spoken.
/// Files:   a chunk's file is deleted as soon as its words are known. What is left after Cancelled and Failed is the
///          caller's to keep or to delete.
class TakePipeline {
public:
    TakePipeline(Config& config, TakeSteps steps);

    TakeOutcome run(const Take& take, const TakeListener& listener, std::stop_token stop);

private:
    using Words = std::variant<std::string, TakeOutcome>;

    Words transcribe(Take rest, const TakeListener& listener, std::stop_token stop);
    std::optional<std::string> recognise(const TranscribeRequest& request, bool& isRescued,
                                         const TakeListener& listener, std::stop_token stop);
    std::optional<std::string> rescue(const TranscribeRequest& request, std::stop_token stop);
    TakeOutcome decideGuarded(const std::string& rawText, const TakeListener& listener, std::stop_token stop);
    TakeOutcome decide(const std::string& rawText, const TakeListener& listener, std::stop_token stop);
    TakeOutcome dictate(const std::string& rawText, const TakeSituation& situation, std::stop_token stop);

    Config& m_config;
    const TakeSteps m_steps;
};

} // namespace fenlo
