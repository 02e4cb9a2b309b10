// Replies of the language models: any bytes end in a short error or in valid text, and cleaning that text gives valid
// text that is not longer.

#include "base/Text.h"
#include "fuzz/Require.h"
#include "text/LanguageModelCalls.h"
#include "text/ModelAnswer.h"

#include <cstdint>

using namespace fenlo;

namespace {

void clean(const std::string& answer) {
    const std::string cleaned = cleanResponse(answer);
    require(text::repairUtf8(cleaned) == cleaned);
    require(cleaned.size() <= text::repairUtf8(answer).size());
    require(!isRefusal(cleaned, cleaned));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    for (const auto parse : {gemini::parseReply, groqChat::parseReply})
        try {
            const std::string answer = parse(body);
            require(text::repairUtf8(answer) == answer);
            clean(answer);
        } catch (const std::runtime_error& error) {
            const std::string message = error.what();
            require(message.size() < 150 && message.find('\n') == std::string::npos);
        }
    clean(std::string(body));
    return 0;
}
