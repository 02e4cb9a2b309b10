// Replies of the speech services: any bytes end in an error or in valid text, which guards and clean-up accept.

#include "fuzz/Require.h"
#include "speech/DeepgramProvider.h"
#include "speech/GrokProvider.h"
#include "speech/GroqProvider.h"
#include "speech/TranscriptGuards.h"

#include <cstdint>
#include <functional>

using namespace fenlo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const HallucinationGuard guard("site.example");
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    const std::function<ProviderResult()> readers[] = {
        [&] { return groq::parseReply(body, 0); }, [&] { return groq::parseReply(body, 2); },
        [&] { return deepgram::parseReply(body); }, [&] { return grok::parseReply(body); }};
    for (const auto& read : readers)
        try {
            const ProviderResult result = read();
            requireUtf8(result.text);
            if (result.meta)
                for (const std::string& doubtful : result.meta->lowConfidenceRanges)
                    requireUtf8(doubtful);
            if (!guard.isHallucination(result.text, 0.3F))
                requireUtf8(postProcess(result.text, {}));
        } catch (const TranscriberError&) {
        }
    return 0;
}
