#include "hub/tokenizers/steps/Normalizer.h"

#include "hub/tokenizers/steps/BertText.h"
#include "hub/tokenizers/steps/ByteLetters.h"
#include "hub/tokenizers/steps/Characters.h"
#include "hub/tokenizers/steps/PrecompiledTable.h"
#include "hub/tokenizers/steps/Steps.h"
#include "hub/tokenizers/steps/UnicodeForms.h"

#include <algorithm>
#include <string>
#include <utility>

namespace fenlo::hub {

namespace {

using TextStep = std::function<void(AlignedText&)>;
using TextSteps = StepList<TextStep>;

StepType<TextStep> unicodeForm(std::string_view name, UnicodeForm form) {
    return {name, {}, [form](const JsonNode&, TextSteps& list) {
                list.steps.emplace_back([form](AlignedText& text) { normalizeTo(form, text); });
            }};
}

void addLowercase(const JsonNode&, TextSteps& list) {
    list.steps.emplace_back(lowercase);
}

void addBertText(const JsonNode& node, TextSteps& list) {
    list.limits.countGrowth(node, BertText::growth);
    list.steps.emplace_back([settings = BertText::read(node)](AlignedText& text) { settings.apply(text); });
}

void addTextStrip(const JsonNode& node, TextSteps& list) {
    const bool left = node.member("strip_left").boolean(true);
    const bool right = node.member("strip_right").boolean(true);
    list.steps.emplace_back([left, right](AlignedText& text) {
        const std::size_t size = text.text().size();
        const std::size_t end = right ? blanksBegin(text.text(), size) : size;
        const std::size_t begin = left ? std::min(blanksEnd(text.text(), 0), end) : 0;
        text = text.part(begin, end);
    });
}

void addStripAccents(const JsonNode&, TextSteps& list) {
    list.steps.emplace_back(
        [marks = Replacement{Pattern::regex(R"(\p{M}+)"), ""}](AlignedText& text) { marks.apply(text); });
}

void addPrepend(const JsonNode& node, TextSteps& list) {
    const std::string prefix = shortText(node.member("prepend"));
    list.limits.countGrowth(node, 1 + static_cast<double>(prefix.size())); // before a text of one character
    list.steps.emplace_back([prefix](AlignedText& text) {
        if (!text.text().empty())
            text.apply(std::vector<AlignedText::Edit>{{0, 0, prefix}});
    });
}

void addTextReplace(const JsonNode& node, TextSteps& list) {
    list.steps.emplace_back(
        [replacement = Replacement::read(node, list.limits)](AlignedText& text) { replacement.apply(text); });
}

void addPrecompiled(const JsonNode& node, TextSteps& list) {
    PrecompiledTable table = PrecompiledTable::read(node);
    list.limits.countGrowth(node, table.growth());
    list.steps.emplace_back([table = std::move(table)](AlignedText& text) { table.apply(text); });
}

void addNmt(const JsonNode&, TextSteps& list) {
    list.steps.emplace_back(
        [controls = Pattern::regex(R"([\u0001-\u0008\u000B\u000E-\u001F\u007F\u008F\u009F])"),
         blanks = Pattern::regex(R"([\t\n\f\r\u1680\u200B-\u200F\u2028\u2029\u2581\uFEFF\uFFFD])")](AlignedText& text) {
            Replacement{controls, ""}.apply(text);
            Replacement{blanks, " "}.apply(text);
        });
}

void addByteLetters(const JsonNode& node, TextSteps& list) {
    list.limits.countGrowth(node, byteLettersGrowth);
    list.steps.emplace_back([](AlignedText& text) {
        AlignedTextWriter writer(text);
        writeByteLetters(writer, text.text().size());
        writer.finish();
    });
}

} // namespace

Normalizer Normalizer::read(const JsonNode& node) {
    TextSteps list;
    readSteps<TextStep>(
        node, "normalizers",
        {unicodeForm("NFC", UnicodeForm::nfc),
         unicodeForm("NFD", UnicodeForm::nfd),
         unicodeForm("NFKC", UnicodeForm::nfkc),
         unicodeForm("NFKD", UnicodeForm::nfkd),
         {"Lowercase", {}, addLowercase},
         {"BertNormalizer", {"clean_text", "handle_chinese_chars", "strip_accents", "lowercase"}, addBertText},
         {"Strip", {"strip_left", "strip_right"}, addTextStrip},
         {"StripAccents", {}, addStripAccents},
         {"Replace", {"pattern", "content"}, addTextReplace},
         {"Prepend", {"prepend"}, addPrepend},
         {"Precompiled", {"precompiled_charsmap"}, addPrecompiled},
         {"Nmt", {}, addNmt},
         {"ByteLevel", {}, addByteLetters}},
        list);
    Normalizer normalizer;
    normalizer.m_steps = std::move(list.steps);
    return normalizer;
}

void Normalizer::apply(AlignedText& text) const {
    for (const auto& step : m_steps)
        step(text);
}

} // namespace fenlo::hub
