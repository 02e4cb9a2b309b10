// Guards and clean-up: any text becomes valid text, and cleaning it again does not make it longer.

#include "base/Text.h"
#include "fuzz/Require.h"
#include "speech/TranscriptGuards.h"

#include <cstdint>

using namespace fenlo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const HallucinationGuard guard("site.example");
    const std::string_view raw(reinterpret_cast<const char*>(data), size);
    guard.isHallucination(raw, 0.0F);
    require(!guard.isHallucination(raw, 0.5F));
    for (const bool isDevTool : {false, true}) {
        const std::string tidy = postProcess(raw, {.isDevTool = isDevTool, .autoCapitalize = false});
        require(text::repairUtf8(tidy) == tidy);
        require(postProcess(tidy, {.isDevTool = isDevTool, .autoCapitalize = false}).size() <= tidy.size());
    }
    return 0;
}
