#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace fenlo {

/// Recognisers invent text on silence: subtitle credits, video outros, endless repeats. This recognises such texts.
class HallucinationGuard {
public:
    /// `subtitleSiteDomain` is named in four of the invented credit lines.
    explicit HallucinationGuard(const std::string& subtitleSiteDomain);

    /// Whether to reject the whole text. A clip with a speech ratio above 0.4 is trusted, whatever it says.
    bool isHallucination(std::string_view text, float speechRatio) const;

private:
    std::unordered_set<std::string> m_phrases;
};

struct CleanUp {
    bool isDevTool = false;     // the text goes to a command line or an editor of code
    bool autoCapitalize = true; // has no effect in developer tools
};

/// Tidies an accepted text: no special tokens, no stuttered phrases, no final period, and in developer tools something
/// that reads as a command.
///
/// Errors: none; the result is valid UTF-8 whatever comes in.
std::string postProcess(std::string_view text, CleanUp options);

} // namespace fenlo
