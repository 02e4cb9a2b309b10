#include "hub/tokenizers/steps/ScriptSplit.h"

#include "hub/tokenizers/steps/Characters.h"

#include <unicode/uscript.h>

namespace fenlo::hub {

namespace {

constexpr char32_t longVowel = 0x30FC; // of kana, of no script for the standard

UScriptCode scriptOf(char32_t c) {
    UErrorCode status = U_ZERO_ERROR;
    const UScriptCode script = uscript_getScript(static_cast<UChar32>(c), &status);
    const bool isKana = script == USCRIPT_HIRAGANA || script == USCRIPT_KATAKANA || c == longVowel;
    return isKana ? USCRIPT_HAN : script;
}

} // namespace

void splitAtScripts(const std::string& text, const TextRange& range, std::vector<TextRange>& parts) {
    bool isAfterScript = false;
    UScriptCode last = USCRIPT_COMMON;
    for (std::size_t at = range.begin; at < range.end;) {
        const std::size_t begin = at;
        const char32_t c = takeAt(text, at);
        const UScriptCode script = c == ' ' ? last : scriptOf(c);
        if (c != ' ' && (!isAfterScript || script != last))
            parts.push_back({begin, at});
        else if (isAfterScript)
            parts.back().end = at;
        isAfterScript = isAfterScript || c != ' ';
        last = script;
    }
}

} // namespace fenlo::hub
