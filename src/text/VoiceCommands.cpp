#include "text/VoiceCommands.h"

#include "base/Text.h"
#include "text/ApplicationTables.h"
#include "text/SpokenKey.h"
#include "text/professions/Professions.h"

#include <string_view>
#include <vector>

namespace fenlo {

namespace {

struct ActionPhrase {
    std::string_view phrase;
    std::string_view action;
};

constexpr ActionPhrase actionPhrases[] = {
    {"delete that", "undo"},
    {"undo that", "undo"},
    {"select all", "select_all"},
    {"copy that", "copy_last"},
};

struct SpokenSymbol {
    std::string_view spoken;
    std::string_view symbol;
};

constexpr SpokenSymbol spokenSymbols[] = {
    {"new paragraph", "\n\n"},
    {"new line", "\n"},
    {"next line", "\n"},
    {"exclamation mark", "!"},
    {"exclamation point", "!"},
    {"question mark", "?"},
    {"full stop", "."},
    {"period", "."},
    {"comma", ","},
    {"colon", ":"},
    {"semicolon", ";"},
    {"dash", " — "},
    {"hyphen", "-"},
    {"open quote", " \""},
    {"close quote", "\""},
    {"open paren", " ("},
    {"close paren", ")"},
    {"ellipsis", "..."},
    {"tab", "\t"},
};

/// Matches the phrase as whole words, with the blanks around it and the punctuation that the recogniser added.
/// Leading blanks match from the start of their run only: plain "\s*" would try each blank of a run again, which takes
/// quadratic time on long runs.
text::Regex spokenWords(std::string_view phrase) {
    return text::Regex("(?:(?<!\\s)\\s++)?\\b" + text::quotePattern(phrase) + "\\b[.,!?;:]*\\s*",
                       text::CaseSensitivity::insensitive);
}

std::string replaceProfessionCommands(std::string text, const ProfessionProfile& profession) {
    for (const SpokenCommand& command : profession.voiceCommands)
        text = spokenWords(command.spoken).replaceAllWithLiteral(text, command.output);
    return text;
}

struct SymbolPattern {
    text::Regex spoken;
    std::string replacement;
};

std::vector<SymbolPattern> compileSymbols() {
    std::vector<SymbolPattern> patterns;
    for (const auto& [spoken, symbol] : spokenSymbols) {
        const bool endsAWord = symbol.size() == 1 && std::string_view(".,!?:;").find(symbol) != std::string_view::npos;
        patterns.push_back({spokenWords(spoken), std::string(symbol) + (endsAWord ? " " : "")});
    }
    return patterns;
}

std::string replaceSpokenSymbols(std::string text) {
    static const std::vector<SymbolPattern> patterns = compileSymbols();
    for (const auto& [spoken, replacement] : patterns)
        text = spoken.replaceAllWithLiteral(text, replacement);
    return text;
}

/// Removes doubled blanks and marks, and blanks before a line end or a mark, in linear time.
std::string tidied(std::string text) {
    static const text::Regex blanks("[^\\S\\n\\t]+");
    static const text::Regex blanksAtLineEnd(" +\\n");
    static const text::Regex spaceBeforeMark("(?<!\\s)\\s++([.,!?;:])");
    static const text::Regex markBeforeItsLike("([.!?;:,])(?=\\1)");
    text = blanks.replaceAll(text, " ");
    text = blanksAtLineEnd.replaceAll(text, "\n");
    text = spaceBeforeMark.replaceAll(text, "$1");
    return markBeforeItsLike.replaceAll(text, "");
}

bool endsSentence(std::string_view character) {
    for (const std::string_view end : {".", "!", "?", "\n", "\r\n"})
        if (character == end)
            return true;
    return false;
}

} // namespace

VoiceCommandResult processVoiceCommands(const std::string& original, const std::string& bundleId,
                                        const Settings& settings) {
    std::string text = text::trimWhitespace(text::repairUtf8(original));
    if (text.empty())
        return {};

    const std::string key = spokenKey(text);
    for (const auto& [phrase, action] : actionPhrases)
        if (key == phrase)
            return {"", {std::string(action)}};
    const ProfessionProfile& profession = profile(settings.profession);
    for (const SpokenCommand& command : profession.voiceCommands)
        if (key == text::lower(command.spoken))
            return {std::string(command.output), {}};

    text = replaceSpokenSymbols(replaceProfessionCommands(std::move(text), profession));
    if (settings.autoCapitalize && !keepsCaseOfVoiceCommands(bundleId))
        text = capitalizeSentences(text);
    return {text::trimWhitespace(tidied(std::move(text))), {}};
}

std::string capitalizeSentences(const std::string& text) {
    const std::string valid = text::repairUtf8(text);
    std::string capitalized;
    capitalized.reserve(valid.size());
    bool atStart = true;
    for (const std::string_view character : text::characters(valid)) {
        // After quotes and digits the next letter still begins the sentence.
        if (atStart && text::startsWithLetter(character)) {
            capitalized += text::upper(character);
            atStart = false;
        } else {
            capitalized += character;
            atStart = atStart || endsSentence(character);
        }
    }
    return capitalized;
}

} // namespace fenlo
