// Chat templates: any bytes end in a one-line error or in a template whose rendering ends in valid text, or in a
// one-line error too, within its limits.

#include "base/Clock.h"
#include "base/Json.h"
#include "fuzz/Require.h"
#include "hub/templates/ChatTemplate.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>

using namespace fenlo;

namespace {

const char* const variables = R"({"messages": [{"role": "system", "content": "Be brief."},
    {"role": "user", "content": [{"type": "text", "text": "\u00e4\u65e5"}, {"type": "image"}]},
    {"role": "assistant", "content": "<think>\nHm\n</think>\n\nYes.", "tool_calls": [{"function": {"name": "f", "arguments": {"a": [1, 2.5, null]}}}]},
    {"role": "tool", "content": "7"}, {"role": "user", "content": "Why?"}],
    "tools": [{"type": "function", "function": {"name": "f", "description": "", "parameters": {"type": "object",
    "properties": {"a": {"type": "array", "items": {"type": "string"}}}, "required": ["a"]}}}],
    "documents": [{"title": "T", "text": "x", "score": 1}], "add_generation_prompt": true, "bos_token": "<s>", "eos_token": "</s>"})";

class StillClock final : public Clock {
public:
    double now() const override { return 0; }
    std::chrono::system_clock::time_point wallTime() const override { return {}; }
    void sleep(double) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const nlohmann::ordered_json context = parseOrderedJson(variables);
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const hub::ChatTemplate chatTemplate = hub::ChatTemplate::parse(text, "chat template");
        const hub::RenderLimits limits{.steps = 50'000, .outputBytes = 1 << 16, .memoryBytes = 4 << 20};
        const hub::Rendering rendering = chatTemplate.render(context, StillClock(), limits);
        requireUtf8(rendering.text);
        require(rendering.text.size() <= limits.outputBytes);
        for (const hub::Rendering::Range& range : rendering.generated)
            require(range.begin <= range.end && range.end <= rendering.text.size());
    } catch (const hub::TemplateError& error) {
        require(std::strchr(error.what(), '\n') == nullptr);
        requireUtf8(error.what());
    }
    return 0;
}
