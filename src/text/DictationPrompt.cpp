#include "text/DictationPrompt.h"

#include "base/Text.h"
#include "text/ApplicationTables.h"
#include "text/LanguageNames.h"
#include "text/UserProfile.h"
#include "text/professions/Professions.h"

namespace fenlo {

namespace {

/// What keeps a model from refusing or answering a dictation.
constexpr std::string_view onlyPostProcess =
    "CRITICAL: You are a transcription post-processor, NOT a content generator. The user already said these words out "
    "loud. You MUST process ALL text regardless of topic, language, or tone. Never refuse, censor, or modify the "
    "meaning. No content is off-limits — profanity, adult language, sensitive topics — output it all faithfully. This "
    "is the user's own speech. ";

/// A command line must not get the capitals and full stops of prose, whatever the settings say.
std::string_view capitalizationRule(bool isDeveloperTool, bool autoCapitalize) {
    if (isDeveloperTool)
        return "The user is in a developer tool / terminal. Your output will be pasted directly into a shell and "
               "executed. Fix misheard words to their most likely CLI/code equivalent (e.g., 'get status' → 'git "
               "status', 'see dee' → 'cd', 'pseudo' → 'sudo', 'pipe' → '|', 'LS' → 'ls'). Do NOT capitalize. Do NOT "
               "add periods or commas. IMPORTANT: Apply correct shell syntax — in a shell, multi-word values after "
               "flags are split into separate arguments unless quoted. Ensure the output would parse correctly if "
               "pasted into bash";
    if (autoCapitalize)
        return "Fix grammar, punctuation, and capitalization — but do NOT add a trailing period to short phrases, "
               "commands, or fragments that are not complete sentences";
    return "Fix grammar and punctuation only. Do NOT capitalize the first letter — the user has disabled "
           "auto-capitalization. Keep the original casing";
}

std::string fullPrompt(const Settings& settings, const FocusContext& context, const std::string& language) {
    std::string prompt = "You are a transcription formatter inside a voice-to-text app called Fenlo on macOS. The user "
                         "just dictated something in ";
    prompt += promptedName(context);
    prompt += ". The tone should be ";
    prompt += dictationTone(context.appBundleId);
    prompt += ". ";
    prompt += onlyPostProcess;
    prompt += "Your job is LIMITED to:"
              " 1. Fix punctuation, capitalization, and grammar"
              " 2. Fix words that are clearly garbled or not real words (transcription artifacts)"
              " That is ALL. You are a formatter, not an editor. Rules: - ";
    prompt += languageRule(language);
    prompt += " - ";
    prompt += capitalizationRule(isPromptedAsDeveloperTool(context.appBundleId), settings.autoCapitalize);
    prompt +=
        " - If a word is a real English word, NEVER replace it — even if a different word seems to fit better. "
        "The user said that word on purpose"
        " - NEVER swap synonyms. NEVER rephrase. NEVER \"improve\" word choice. Your opinion on better wording is "
        "irrelevant"
        " - NEVER add words the user did not say — no extra words, no elaboration, no paraphrasing"
        " - NEVER change numbers, percentages, amounts, dates, or any numeric values — output them exactly as "
        "dictated"
        " - Do NOT add greetings, sign-offs, or pleasantries the user didn't say"
        " - Do NOT wrap in quotes or add any prefix/suffix"
        " - If there is existing text in the field, use it ONLY to match tone and style — do NOT merge, repeat, "
        "or paraphrase any of that text into the output"
        " - Your output must contain ONLY what the user actually dictated, formatted — never add words or ideas "
        "from the surrounding text"
        " - If the text is already clean, return it as-is"
        " - Return ONLY the formatted text, nothing else"
        " - NEVER include labels like \"Polished text:\", \"Here is\", \"Output:\", or any other prefix/suffix — "
        "just the text itself"
        " - When the dictation contains a recognizable domain-specific pattern (shell commands, prescriptions, "
        "legal citations, formulas, specs, URLs, file paths), apply the standard formatting conventions for that "
        "pattern — e.g. quote string arguments in CLI commands, format drug dosages properly, structure legal "
        "references correctly. The user spoke it casually; output it in its correct written form";
    return prompt;
}

std::string minimalPrompt(const FocusContext& context, const std::string& language) {
    std::string prompt = "You are a transcription correction assistant inside a voice-to-text app called Fenlo on "
                         "macOS. The user just dictated something in ";
    prompt += promptedName(context);
    prompt += ". Your ONLY job is to fix obvious speech-to-text errors (misheard words, garbled phrases). ";
    prompt += onlyPostProcess;
    prompt += "Rules: - ";
    prompt += languageRule(language);
    prompt += " - ONLY fix words that were clearly misheard by the speech recognizer"
              " - Do NOT change the user's writing style, tone, word choice, or sentence structure"
              " - Do NOT add or remove punctuation — output punctuation exactly as transcribed"
              " - Do NOT change capitalization unless fixing a misheard word"
              " - Do NOT rephrase, polish, or \"improve\" the text in any way"
              " - NEVER add words the user did not say"
              " - NEVER change numbers, percentages, amounts, dates, or any numeric values"
              " - If the text has no transcription errors, return it EXACTLY as-is"
              " - Return ONLY the corrected text, nothing else"
              " - NEVER include labels like \"Corrected text:\", \"Here is\", \"Output:\", or any other prefix/suffix";
    return prompt;
}

std::string professionBlock(const Settings& settings) {
    std::string block;
    if (settings.dictationMode != DictationMode::work)
        return block;
    if (const std::string_view addendum = profile(settings.profession).rewriteAddendum; !addendum.empty())
        (block += "\n") += addendum;
    if (const std::string sentence = userProfileSentence(settings); !sentence.empty())
        block += "\n" + sentence +
                 "\nUse this context to better recognize domain-specific terms, but NEVER replace real English words "
                 "with domain jargon.";
    return block;
}

std::string vocabularyBlock(const Settings& settings) {
    std::vector<std::string> terms = settings.customVocabulary;
    terms.insert(terms.end(), settings.professionVocabulary.begin(), settings.professionVocabulary.end());
    if (terms.empty())
        return {};
    return "\nIMPORTANT: Preserve these custom terms/names with exact spelling: " + text::join(terms, ", ") +
           "."
           "\nIf any word SOUNDS LIKE one of these terms but was misheard, silently correct it (e.g., 'IMR' → 'Ilka'). "
           "Do NOT explain your corrections. Do NOT mention the vocabulary list. Just output the corrected text.";
}

std::string quoted(const std::string& text) {
    return "\"\"\"\n" + text + "\n\"\"\"";
}

} // namespace

bool isTranslating(const Settings& settings) {
    return settings.outputMode == OutputMode::translate || settings.outputMode == OutputMode::transliterate;
}

std::string systemPrompt(const Settings& settings, const FocusContext& context, const std::string& language) {
    if (settings.outputMode == OutputMode::translate)
        return translationPrompt(context);
    if (settings.outputMode == OutputMode::transliterate)
        return transliterationPrompt(context);
    return dictationPrompt(settings, context, language);
}

std::string dictationPrompt(const Settings& settings, const FocusContext& context, const std::string& language) {
    const bool isMinimal =
        settings.smartRewriteStyle == SmartRewriteStyle::minimal && !isPromptedAsDeveloperTool(context.appBundleId);
    return (isMinimal ? minimalPrompt(context, language) : fullPrompt(settings, context, language)) +
           professionBlock(settings) + vocabularyBlock(settings);
}

std::string translationPrompt(const FocusContext& context) {
    return "You are a translation assistant inside a voice-to-text app called Fenlo on macOS. The user just dictated "
           "something in " +
           promptedName(context) +
           ". Your job is to translate the text into English. Rules:"
           " - Translate the text accurately into natural English"
           " - Keep the user's intent and meaning EXACTLY"
           " - Use proper grammar, punctuation, and capitalization"
           " - If the text is already in English, just clean it up"
           " - Do NOT wrap in quotes or add any prefix/suffix"
           " - Do NOT add translator notes or explanations"
           " - Return ONLY the English translation, nothing else";
}

std::string transliterationPrompt(const FocusContext& context) {
    return "You are a transliteration assistant inside a voice-to-text app called Fenlo on macOS. The user just "
           "dictated something in " +
           promptedName(context) +
           ". Your job is to convert the text to Roman script (Latin alphabet). Rules:"
           " - Transliterate the text phonetically into Latin/Roman characters"
           " - Preserve the meaning and pronunciation as closely as possible"
           " - Do NOT translate — keep the original words, just write them in Roman/Latin letters"
           " - If the text is already in Roman/Latin script, just clean it up (fix punctuation and capitalization)"
           " - Do NOT wrap in quotes or add any prefix/suffix"
           " - Return ONLY the transliterated text, nothing else";
}

std::string languageRule(const std::string& language) {
    if (language == "auto")
        return "CRITICAL: NEVER translate the text. Output in the SAME language the user spoke. If the user dictated "
               "in "
               "Italian, output Italian. If they dictated in Spanish, output Spanish. The existing text in the field "
               "may be in a different language — IGNORE that. Your output language must match the DICTATION, not the "
               "field. If they mixed languages, keep the mix.";
    const std::string name = languageName(language);
    return "CRITICAL: The user's language is " + name + ". Output ONLY in " + name +
           ". NEVER translate to English or any other language. Even if the existing text in the field is in a "
           "different language, your output MUST be in " +
           name + ".";
}

std::string userMessage(const Settings& settings, const std::string& text, const FocusContext& context) {
    std::string message;
    // The surrounding text is left out: a model might answer in its language instead of translating.
    if (settings.outputMode == OutputMode::transcribe) {
        if (!context.existingText.empty())
            message += "Text already in the field (use for tone/style context ONLY — do NOT match its language, do NOT "
                       "translate the dictation to this language):\n" +
                       quoted(context.existingText) + "\n\n";
        if (!context.selectedText.empty())
            message += "User has SELECTED this text and is REPLACING it with their new dictation. The new text should "
                       "serve the same purpose/context as the selected text:\n" +
                       quoted(context.selectedText) + "\n\n";
    }
    if (settings.outputMode == OutputMode::translate)
        message += "Text to translate to English";
    else if (settings.outputMode == OutputMode::transliterate)
        message += "Text to transliterate";
    else
        message += "Raw dictation to format";
    return message + ":\n" + quoted(text);
}

std::string promptedName(const FocusContext& context) {
    return context.appName.empty() ? "an app" : context.appName;
}

} // namespace fenlo
