#include "shell/home/SettingChoices.h"

#include "session/HotkeyListener.h"
#include "shell/Sounds.h"

#include <algorithm>

namespace fenlo {

namespace {

struct Hint {
    std::string_view setting;
    std::string_view text;
};

constexpr Hint hints[] = {
    {"continuousMode", "Toggle recording on/off instead of hold"},
    {"showOverlay", "Floating pill while recording"},
    {"playSounds", "Chime when the mic is ready"},
    {"silenceNotification", "Nudge when holding key but silent"},
    {"voiceCommands", "Punctuation and actions by voice"},
    {"voiceIsolation", "Keep only your voice in recordings"},
    {"smartRewrite", "Polish text based on app context and tone"},
    {"autoCapitalize", "Capitalize first letter — turn off for mid-sentence edits"},
    {"showAppInPill", "Display active app name in overlay"},
    {"showWordsInPill",
     "What is recognized so far, in offline mode; nothing is shown on battery or with a single core"},
    {"uploadWhileSpeaking",
     "A take of more than four minutes goes to the speech service in parts while you still speak: what you said has "
     "then left this computer also where you cancel the take"},
    {"smartRewriteStyle", "Full polishes tone & grammar; Minimal only fixes misheard words"},
    {"sttEngine", "Which transcription algorithm to use"},
    {"smartRewriteModel", "AI model for Smart Rewrite"},
    {"checkForUpdates", "Asks whether there is a newer version; installs nothing by itself"},
    {"openAtLogin", "Start Fenlo when you log in"},
    {"keepFailedTakes", "What was not recognized stays on this computer and can be tried again"},
    {"typeShortTexts", "Leaves no trace in clipboard histories"},
    {"typeAllTexts", "Key by key, for applications that refuse to paste"},
    {"dictationMode", "Professional adds your profession's terms and style; Personal leaves them out"},
};

} // namespace

SettingChoices languageChoices(bool offline) {
    if (offline)
        return {{"en", "English"}};
    return {{"auto", "Auto-detect"}, {"en", "English"},    {"it", "Italian"},   {"es", "Spanish"},  {"fr", "French"},
            {"de", "German"},        {"pt", "Portuguese"}, {"nl", "Dutch"},     {"ja", "Japanese"}, {"ko", "Korean"},
            {"zh", "Chinese"},       {"ru", "Russian"},    {"ar", "Arabic"},    {"hi", "Hindi"},    {"tr", "Turkish"},
            {"pl", "Polish"},        {"sv", "Swedish"},    {"uk", "Ukrainian"}, {"ro", "Romanian"}, {"ca", "Catalan"}};
}

SettingChoices outputModeChoices() {
    return {{"transcribe", "Output: Same language"},
            {"translate", "Output: Translate to English"},
            {"transliterate", "Output: Roman script"}};
}

SettingChoices smartRewriteStyleChoices() {
    return {{"full", "Full polish"}, {"minimal", "Minimal (errors only)"}};
}

SettingChoices smartRewriteModelChoices() {
    return {{"auto", "Auto"}, {"gemini", "Gemini Flash"}, {"groq", "Llama 3.3"}};
}

SettingChoices sttEngineChoices() {
    return {{"stt80", "Algo 8.0"}, {"stt81", "Algo 8.1"}};
}

SettingChoices dictationModeChoices() {
    return {{"work", "Professional"}, {"personal", "Personal"}};
}

SettingChoices hotkeyChoices() {
    SettingChoices choices;
    for (const Hotkey& hotkey : hotkeys())
        choices.push_back({hotkey.name, hotkey.label});
    return choices;
}

SettingChoices soundSchemeChoices() {
    SettingChoices choices;
    for (const SoundScheme& scheme : SoundScheme::all())
        choices.push_back({scheme.id, scheme.name});
    return choices;
}

SettingChoices withValue(SettingChoices choices, std::string_view value) {
    if (std::ranges::find(choices, value, &SettingChoice::value) != choices.end())
        return choices;
    const SettingChoices languages = languageChoices(false);
    const auto language = std::ranges::find(languages, value, &SettingChoice::value);
    choices.push_back(language == languages.end() ? SettingChoice{std::string(value), std::string(value)} : *language);
    return choices;
}

std::string soundSchemeDescription(std::string_view scheme) {
    const auto found = std::ranges::find(SoundScheme::all(), scheme, &SoundScheme::id);
    return found == SoundScheme::all().end() ? "" : found->description;
}

std::string hotkeyHint(std::string_view hotkey) {
    if (hotkey == "cmd_l")
        return "On most keyboards the left Super key, the one with a logo";
    if (hotkey == "option_r")
        return "On most keyboards the right Alt key";
    if (hotkey == "fn")
        return "Many keyboards keep this key to themselves: test it";
    return {};
}

std::string_view settingHint(std::string_view setting) {
    const auto found = std::ranges::find(hints, setting, &Hint::setting);
    return found == std::end(hints) ? "" : found->text;
}

std::string_view languageHint(bool offline) {
    return offline ? "Only English available in offline mode" : "Auto-detect supports mixed languages";
}

} // namespace fenlo
