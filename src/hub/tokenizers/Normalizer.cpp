#include "hub/tokenizers/Normalizer.h"

#include "base/Text.h"
#include "hub/tokenizers/Pattern.h"
#include "hub/tokenizers/Steps.h"

#include <algorithm>
#include <unicode/bytestream.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>
#include <utility>

namespace fenlo::hub {

namespace {

std::string normalized(const icu::Normalizer2& form, const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    std::string out;
    icu::StringByteSink<std::string> sink(&out);
    form.normalizeUTF8(0, {text.data(), static_cast<int32_t>(text.size())}, sink, nullptr, status);
    return U_SUCCESS(status) ? out : text;
}

using TextStep = std::function<std::string(const std::string&)>;

StepType<TextStep> unicodeForm(std::string_view name, const icu::Normalizer2* (*form)(UErrorCode&)) {
    return {name, {}, [form](const JsonNode&, std::vector<TextStep>& steps) {
                UErrorCode status = U_ZERO_ERROR;
                const icu::Normalizer2* normalizer = form(status);
                steps.emplace_back([normalizer](const std::string& text) { return normalized(*normalizer, text); });
            }};
}

void addLowercase(const JsonNode&, std::vector<TextStep>& steps) {
    steps.emplace_back([](const std::string& text) { return text::lower(text); });
}

void addTextStrip(const JsonNode& node, std::vector<TextStep>& steps) {
    const bool left = node.member("strip_left").boolean(true);
    const bool right = node.member("strip_right").boolean(true);
    steps.emplace_back([left, right](const std::string& text) {
        const std::size_t end = right ? blanksBegin(text, text.size()) : text.size();
        const std::size_t begin = left ? std::min(blanksEnd(text, 0), end) : 0;
        return text.substr(begin, end - begin);
    });
}

void addStripAccents(const JsonNode&, std::vector<TextStep>& steps) {
    steps.emplace_back(
        [marks = Pattern::regex(R"(\p{M}+)")](const std::string& text) { return marks.replace(text, ""); });
}

void addPrepend(const JsonNode& node, std::vector<TextStep>& steps) {
    steps.emplace_back([prefix = shortText(node.member("prepend"))](const std::string& text) {
        return text.empty() ? text : prefix + text;
    });
}

} // namespace

Normalizer Normalizer::read(const JsonNode& node) {
    Normalizer normalizer;
    double growth = 1;
    const auto addReplace = [&growth](const JsonNode& step, std::vector<TextStep>& steps) {
        steps.push_back(readReplacement(step, growth));
    };
    readSteps<TextStep>(node, "normalizers",
                        {unicodeForm("NFC", icu::Normalizer2::getNFCInstance),
                         unicodeForm("NFD", icu::Normalizer2::getNFDInstance),
                         unicodeForm("NFKC", icu::Normalizer2::getNFKCInstance),
                         unicodeForm("NFKD", icu::Normalizer2::getNFKDInstance),
                         {"Lowercase", {}, addLowercase},
                         {"Strip", {"strip_left", "strip_right"}, addTextStrip},
                         {"StripAccents", {}, addStripAccents},
                         {"Replace", {"pattern", "content"}, addReplace},
                         {"Prepend", {"prepend"}, addPrepend}},
                        normalizer.m_steps);
    return normalizer;
}

std::string Normalizer::apply(std::string text) const {
    for (const auto& step : m_steps)
        text = step(text);
    return text;
}

} // namespace fenlo::hub
