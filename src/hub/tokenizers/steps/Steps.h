#pragma once

#include "hub/tokenizers/AlignedText.h"
#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/steps/Pattern.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// What the steps of normalizers, pre-tokenizers and decoders have in common.
namespace fenlo::hub {

/// Bounds the work that a hostile file can cause, together with the limits on its texts: at most 64 steps, which make a
/// text at most 256 times longer.
class StepLimits {
public:
    /// Errors: TokenizerError for one step too many.
    void countStep(const JsonNode& node);
    /// A step can make a text so many times longer.
    /// Errors: TokenizerError when all of them make it too long.
    void countGrowth(const JsonNode& node, double factor);

private:
    int m_steps = 0;
    double m_growth = 1;
};

/// The steps that are read, in order.
template <typename Step>
struct StepList {
    std::vector<Step> steps;
    StepLimits limits;
};

/// A type of step in the file.
template <typename Step>
struct StepType {
    std::string_view name;
    std::vector<std::string_view> settings;                     // its members
    std::function<void(const JsonNode&, StepList<Step>&)> read; // appends its steps
};

/// Appends the steps of a node: none for null, all of a "Sequence", whose items are in its member `list`, or those of
/// one of the types.
/// Errors: TokenizerError for other types and other settings.
template <typename Step>
void readSteps(const JsonNode& node, const std::string& list, const std::vector<StepType<Step>>& types,
               StepList<Step>& steps) {
    if (node.isNull())
        return;
    steps.limits.countStep(node);
    const std::string name = node.type();
    if (name == "Sequence") {
        node.allowOnly({"type", list});
        for (const JsonNode& item : node.member(list).items())
            readSteps(item, list, types, steps);
        return;
    }
    for (const StepType<Step>& type : types)
        if (type.name == name) {
            std::vector<std::string_view> members = type.settings;
            members.emplace_back("type");
            node.allowOnly(members);
            return type.read(node, steps);
        }
    node.refuseType();
}

/// A text of at most 256 bytes; it is not empty in the second.
std::string shortText(const JsonNode& node);
std::string filledText(const JsonNode& node);

/// The step "Replace" of normalizers and decoders: every match of a pattern becomes the same text.
struct Replacement {
    Pattern pattern;
    std::string content;

    /// Reads the settings "pattern" and "content".
    static Replacement read(const JsonNode& node, StepLimits& limits);
    void apply(AlignedText& text) const;
    std::string applied(std::string text) const;
};

} // namespace fenlo::hub
