#include "text/AICommands.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "text/ApplicationTables.h"
#include "text/DictationPrompt.h"
#include "text/SmartRewrite.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t recalledEntries = 30;
constexpr std::size_t shownCharacters = 80;

constexpr std::string_view recallPhrases[] = {
    "what was",        "what did i",      "that thing about", "that email",    "that message",
    "that commit",     "what i said",     "what i wrote",     "the one about", "the thing i",
    "remember when",   "from yesterday",  "from last week",   "from today",    "i said earlier",
    "i wrote earlier", "what i dictated", "that note about",  "paste what i",
};

constexpr char recallPrompt[] =
    R"(You are a memory assistant inside a voice-to-text app called Fenlo. The user is asking you to recall something )"
    R"(they previously dictated. Below is their query and their recent dictation history. Rules: - Find the entry that )"
    R"(best matches what the user is asking for - Return ONLY the text of that entry — nothing else - If they ask "what )"
    R"(was that email about pricing", return the full text of that email - If multiple entries could match, return the )"
    R"(most relevant one - If nothing matches at all, return a brief summary of what their recent history contains so )"
    R"(they can refine their query - Do NOT add explanations, prefixes, or meta-commentary - Do NOT say "Here is what )"
    R"(you said" — just output the text directly - The text will be pasted at the user's cursor)";

constexpr char commandRules[] =
    R"( - Follow the user's instruction exactly - NEVER change numbers, percentages, amounts, dates, or any numeric )"
    R"(values — preserve them exactly as spoken - CRITICAL: When editing or modifying text, output the COMPLETE text )"
    R"(with only the requested change applied. Do NOT summarize, shorten, or omit any part. Every sentence and )"
    R"(paragraph from the original must be present in your output — the output replaces the original entirely. - If )"
    R"(the user asks to remove or replace something specific (e.g., "remove em dashes"), make ONLY that change and )"
    R"(return the full text otherwise unchanged. - If the user says "rewrite" or "make professional" etc., rewrite ALL )"
    R"(of the provided text, not just part of it - Do NOT add explanations, quotes, prefixes, or meta-commentary - Do )"
    R"(NOT say "Here is..." or "Sure, here's..." — just output the text - Do NOT sign with your model name or any AI )"
    R"(name — if a signature is needed, leave it blank or use "[Name]" - Return ONLY the final text, nothing else)";

bool isRecall(const std::string& instruction) {
    const std::string lowered = text::lower(instruction);
    return std::any_of(std::begin(recallPhrases), std::end(recallPhrases),
                       [&](std::string_view phrase) { return lowered.find(phrase) != std::string::npos; });
}

std::string commandPrompt(const FocusContext& context) {
    return "You are an AI assistant integrated into a voice-to-text app on macOS. The user gave a voice command while "
           "working in " +
           promptedName(context) +
           ". Execute the command and return ONLY the resulting text that should be inserted at the cursor. Rules: - "
           "The tone should be " +
           std::string(commandTone(context.appBundleId)) + commandRules;
}

std::string block(const std::string& title, const std::string& text) {
    return title + ":\n\"\"\"\n" + text + "\n\"\"\"\n\n";
}

std::string commandMessage(const std::string& instruction, const FocusContext& context) {
    std::string message;
    if (!context.existingText.empty())
        message += block("Text in the field", context.existingText);
    if (!context.selectedText.empty())
        message += block("Selected text", context.selectedText);
    else if (!context.clipboardText.empty())
        message += block("Clipboard (may be relevant context)", context.clipboardText);
    return message + "Voice command: " + instruction;
}

/// What was asked and how the answer begins, for the log.
std::string gist(const std::string& instruction, const std::string& answer) {
    return "'" + instruction + "' → '" + text::firstCharacters(answer, shownCharacters) + "'";
}

} // namespace

AICommands::AICommands(SmartRewrite& models, RecallContext recallContext, const Clock& clock)
    : m_models(models), m_recallContext(std::move(recallContext)), m_clock(clock) {}

std::optional<std::string> AICommands::runAICommand(const std::string& instruction, const FocusContext& context,
                                                    std::stop_token stop) {
    return isRecall(instruction) ? recall(instruction, stop) : command(instruction, context, stop);
}

std::optional<std::string> AICommands::recall(const std::string& instruction, std::stop_token stop) {
    const auto history = m_recallContext(instruction, recalledEntries);
    if (!history)
        return {};
    try {
        std::string answer = m_models.complete(recallPrompt, "User asked: " + instruction + "\n\n" + *history, stop);
        logInfo("MemoryRecall: {}", gist(instruction, answer));
        return answer;
    } catch (const std::exception& error) {
        logError("MemoryRecall failed: {}", error.what());
        return {};
    }
}

std::optional<std::string> AICommands::command(const std::string& instruction, const FocusContext& context,
                                               std::stop_token stop) {
    const double start = m_clock.now();
    try {
        std::string answer = m_models.complete(commandPrompt(context), commandMessage(instruction, context), stop);
        logInfo("AICommand: {:.2f}s — {}", m_clock.now() - start, gist(instruction, answer));
        return answer;
    } catch (const std::exception& error) {
        logError("AICommand failed: {}", error.what());
        return {};
    }
}

} // namespace fenlo
