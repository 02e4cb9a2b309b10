#include "hub/tokenizers/steps/BertText.h"

#include "hub/tokenizers/steps/Characters.h"
#include "hub/tokenizers/steps/UnicodeForms.h"

#include <unicode/uchar.h>

namespace fenlo::hub {

namespace {

bool isOfCategory(char32_t c, uint32_t categories) {
    return (U_GET_GC_MASK(static_cast<UChar32>(c)) & categories) != 0;
}

void clean(AlignedText& text) {
    rewriteCharacters(text, [](AlignedTextWriter& writer, char32_t c, const TextRange& at) {
        const bool isLineOrTab = c == '\t' || c == '\n' || c == '\r';
        const bool isControl = c == U'\uFFFD' || isOfCategory(c, U_GC_CC_MASK | U_GC_CF_MASK | U_GC_CO_MASK);
        if (c == ' ' || !(isLineOrTab || isControl || isBlank(c)))
            return;
        writer.keep(at.begin);
        writer.replace(at.end, isLineOrTab || !isControl ? " " : "");
    });
}

/// The published ranges: ideographs, without the Japanese and Korean alphabets.
bool isChinese(char32_t c) {
    return (c >= 0x4E00 && c <= 0x9FFF) || (c >= 0x3400 && c <= 0x4DBF) || (c >= 0x20000 && c <= 0x2A6DF) ||
           (c >= 0x2A700 && c <= 0x2CEAF) || (c >= 0xF900 && c <= 0xFAFF) || (c >= 0x2F800 && c <= 0x2FA1F);
}

void spaceChinese(AlignedText& text) {
    rewriteCharacters(text, [](AlignedTextWriter& writer, char32_t c, const TextRange& at) {
        if (!isChinese(c))
            return;
        writer.keep(at.begin);
        writer.insert(" ");
        writer.keep(at.end);
        writer.insert(" ");
    });
}

void stripAccents(AlignedText& text) {
    normalizeTo(UnicodeForm::nfd, text);
    rewriteCharacters(text, [](AlignedTextWriter& writer, char32_t c, const TextRange& at) {
        if (!isOfCategory(c, U_GC_MN_MASK))
            return;
        writer.keep(at.begin);
        writer.replace(at.end, "");
    });
}

} // namespace

BertText BertText::read(const JsonNode& node) {
    BertText settings{};
    settings.cleansText = node.member("clean_text").boolean(true);
    settings.spacesChinese = node.member("handle_chinese_chars").boolean(true);
    settings.lowers = node.member("lowercase").boolean(true);
    settings.stripsAccents = node.member("strip_accents").boolean(settings.lowers);
    return settings;
}

void BertText::apply(AlignedText& text) const {
    if (cleansText)
        clean(text);
    if (spacesChinese)
        spaceChinese(text);
    if (stripsAccents)
        stripAccents(text);
    if (lowers)
        lowercase(text);
}

} // namespace fenlo::hub
