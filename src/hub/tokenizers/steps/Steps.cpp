#include "hub/tokenizers/steps/Steps.h"

#include <utility>

namespace fenlo::hub {

namespace {

constexpr int maximumSteps = 64;
constexpr std::size_t longestText = 256; // bytes
constexpr int maximumGrowth = 256;

} // namespace

void StepLimits::countStep(const JsonNode& node) {
    if (m_steps == maximumSteps)
        node.refuse("is one step too many, after " + std::to_string(m_steps));
    ++m_steps;
}

void StepLimits::countGrowth(const JsonNode& node, double factor) {
    m_growth *= factor;
    if (m_growth > maximumGrowth)
        node.refuse("can make text more than " + std::to_string(maximumGrowth) + " times longer");
}

std::string shortText(const JsonNode& node) {
    std::string text = node.string();
    if (text.size() > longestText)
        node.refuse("is longer than " + std::to_string(longestText) + " bytes");
    return text;
}

std::string filledText(const JsonNode& node) {
    std::string text = shortText(node);
    if (text.empty())
        node.fail("is empty");
    return text;
}

Replacement Replacement::read(const JsonNode& node, StepLimits& limits) {
    Replacement replacement{Pattern::read(node.member("pattern")), shortText(node.member("content"))};
    limits.countGrowth(node, replacement.pattern.growth(replacement.content));
    return replacement;
}

void Replacement::apply(AlignedText& text) const {
    const std::vector<TextRange> matches = pattern.find(text.text());
    if (matches.empty())
        return;
    AlignedTextWriter writer(text);
    for (const TextRange& match : matches) {
        writer.keep(match.begin);
        writer.replace(match.end, content);
    }
    writer.finish();
}

std::string Replacement::applied(std::string text) const {
    AlignedText aligned = AlignedText::plain(std::move(text));
    apply(aligned);
    return aligned.text();
}

} // namespace fenlo::hub
