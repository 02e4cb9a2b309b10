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

const icu::Normalizer2* unicodeForm(const std::string& name) {
    UErrorCode status = U_ZERO_ERROR;
    if (name == "NFC")
        return icu::Normalizer2::getNFCInstance(status);
    if (name == "NFD")
        return icu::Normalizer2::getNFDInstance(status);
    if (name == "NFKC")
        return icu::Normalizer2::getNFKCInstance(status);
    if (name == "NFKD")
        return icu::Normalizer2::getNFKDInstance(status);
    return nullptr;
}

std::string normalized(const icu::Normalizer2& form, const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    std::string out;
    icu::StringByteSink<std::string> sink(&out);
    form.normalizeUTF8(0, {text.data(), static_cast<int32_t>(text.size())}, sink, nullptr, status);
    return U_SUCCESS(status) ? out : text;
}

} // namespace

Normalizer Normalizer::read(const JsonNode& node) {
    Normalizer normalizer;
    normalizer.add(node);
    return normalizer;
}

void Normalizer::add(const JsonNode& node) {
    if (node.isNull())
        return;
    requireRoomForStep(node, m_steps.size());
    const std::string type = node.type();
    if (type == "Sequence") {
        node.allowOnly({"type", "normalizers"});
        for (const JsonNode& item : node.member("normalizers").items())
            add(item);
    } else if (const icu::Normalizer2* form = unicodeForm(type)) {
        node.allowOnly({"type"});
        m_steps.emplace_back([form](const std::string& text) { return normalized(*form, text); });
    } else if (type == "Lowercase") {
        node.allowOnly({"type"});
        m_steps.emplace_back([](const std::string& text) { return text::lower(text); });
    } else if (type == "Strip") {
        node.allowOnly({"type", "strip_left", "strip_right"});
        const bool left = node.member("strip_left").boolean(true);
        const bool right = node.member("strip_right").boolean(true);
        m_steps.emplace_back([left, right](const std::string& text) {
            const std::size_t end = right ? blanksBegin(text, text.size()) : text.size();
            const std::size_t begin = left ? std::min(blanksEnd(text, 0), end) : 0;
            return text.substr(begin, end - begin);
        });
    } else if (type == "StripAccents") {
        node.allowOnly({"type"});
        m_steps.emplace_back(
            [marks = Pattern::regex(R"(\p{M}+)")](const std::string& text) { return marks.replace(text, ""); });
    } else if (type == "Replace") {
        m_steps.push_back(readReplacement(node, m_growth));
    } else if (type == "Prepend") {
        node.allowOnly({"type", "prepend"});
        m_steps.emplace_back([prefix = shortText(node.member("prepend"))](const std::string& text) {
            return text.empty() ? text : prefix + text;
        });
    } else {
        node.refuseType();
    }
}

std::string Normalizer::apply(std::string text) const {
    for (const auto& step : m_steps)
        text = step(text);
    return text;
}

} // namespace fenlo::hub
