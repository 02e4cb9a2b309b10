#include "text/ApplicationTables.h"

#include "base/Text.h"

#include <algorithm>
#include <span>
#include <string>

namespace fenlo {

namespace {

constexpr std::string_view chat[] = {"slack", "discord", "whatsapp", "telegram", "messages"};
constexpr std::string_view mail[] = {"mail", "outlook", "gmail"};
constexpr std::string_view prose[] = {"notion", "docs", "pages", "word"};
constexpr std::string_view promptedDeveloperTools[] = {
    "vscode",   "xcode",   "terminal",  "iterm", "warp",  "cursor", "jetbrains",
    "intellij", "sublime", "alacritty", "kitty", "hyper", "tabby",
};
constexpr std::string_view commandedDeveloperTools[] = {"vscode", "xcode", "terminal", "iterm", "cursor"};
constexpr std::string_view caseKeepingTools[] = {
    "vscode",   "xcode",    "terminal", "iterm",     "warp",    "cursor", "jetbrains",
    "intellij", "pycharm",  "webstorm", "goland",    "sublime", "atom",   "nova",
    "bbedit",   "textmate", "neovim",   "alacritty", "kitty",   "hyper",  "tabby",
};

/// A tone for the applications whose ids hold one of the words.
struct Tone {
    std::span<const std::string_view> words;
    std::string_view text;
};

constexpr std::string_view neutralTone = "natural and clear";

constexpr Tone dictationTones[] = {
    {chat, "casual and conversational — like a quick chat message. Lowercase is fine. Keep it short"},
    {mail, "professional and well-structured — proper grammar and punctuation"},
    {promptedDeveloperTools,
     "technical and precise. The user is in a developer tool. Do NOT add periods, commas, or other punctuation unless "
     "explicitly spoken. Do NOT capitalize the first word. If the dictation sounds like code, format it as code. If it "
     "sounds like regular English, output it as-is — do NOT force natural language into code syntax. Convert spoken "
     "operators only when clearly intended as code: 'equals' → '=', 'dot' → '.', 'arrow' → '->'. Preserve camelCase, "
     "snake_case, PascalCase exactly. NEVER convert real English words into programming terms"},
    {prose, "clean prose — well-structured sentences with proper paragraph flow"},
};

constexpr Tone commandTones[] = {
    {chat, "casual and conversational — like a quick chat message"},
    {mail, "professional and well-structured"},
    {commandedDeveloperTools, "technical and precise, preserving code formatting"},
};

bool holdsOneOf(std::span<const std::string_view> words, std::string_view appBundleId) {
    const std::string id = text::lower(appBundleId);
    return std::any_of(words.begin(), words.end(),
                       [&](std::string_view word) { return id.find(word) != std::string::npos; });
}

/// The first row that fits decides.
std::string_view toneIn(std::span<const Tone> tones, std::string_view appBundleId) {
    for (const Tone& tone : tones)
        if (holdsOneOf(tone.words, appBundleId))
            return tone.text;
    return neutralTone;
}

} // namespace

std::string_view dictationTone(std::string_view appBundleId) {
    return toneIn(dictationTones, appBundleId);
}

std::string_view commandTone(std::string_view appBundleId) {
    return toneIn(commandTones, appBundleId);
}

bool isPromptedAsDeveloperTool(std::string_view appBundleId) {
    return holdsOneOf(promptedDeveloperTools, appBundleId);
}

bool keepsCaseOfVoiceCommands(std::string_view appBundleId) {
    return holdsOneOf(caseKeepingTools, appBundleId);
}

} // namespace fenlo
