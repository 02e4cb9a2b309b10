// Spoken commands and corrections: any text becomes valid, tidy text with at most one action, and capitals are kept.

#include "base/Text.h"
#include "fuzz/Require.h"
#include "text/VoiceCommands.h"
#include "text/VoiceCorrection.h"
#include "text/professions/Professions.h"

#include <algorithm>
#include <cstdint>

using namespace fenlo;

namespace {

bool isUtf8(const std::string& text) {
    return text::repairUtf8(text) == text;
}

/// A heading that is the whole utterance is kept as it is; any other text is as the clean-up leaves it.
bool isTidy(const std::string& text, const std::string& profession) {
    static const text::Regex untidy("[^\\S\\n\\t ]|  | \\n|\\s[.,!?;:]|([.,!?;:])\\1|^[ \\t]|[ \\t]\\z");
    const auto commands = profile(profession).voiceCommands;
    return !untidy.find(text) || std::any_of(commands.begin(), commands.end(),
                                             [&](const SpokenCommand& command) { return command.output == text; });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string raw(reinterpret_cast<const char*>(data), size);
    for (const char* profession : {"", "doctor", "developer"})
        for (const bool autoCapitalize : {false, true}) {
            Settings settings;
            settings.profession = profession;
            settings.autoCapitalize = autoCapitalize;
            const VoiceCommandResult result = processVoiceCommands(raw, "org.example.editor", settings);
            require(isUtf8(result.text) && isTidy(result.text, profession));
            require(result.actions.empty() || (result.actions.size() == 1 && result.text.empty()));
        }

    const std::string capitalized = capitalizeSentences(raw);
    require(isUtf8(capitalized) && capitalizeSentences(capitalized) == capitalized);

    const std::string valid = text::repairUtf8(raw);
    if (const auto correction = matchCorrection("i meant " + valid))
        require(!correction->empty() && isUtf8(applyCorrection(valid, *correction)));
    return 0;
}
