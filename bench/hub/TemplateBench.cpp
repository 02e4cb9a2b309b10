// What a chat template costs: read once, and rendered with a conversation of a hundred messages.

#include "base/Clock.h"
#include "hub/templates/Conversation.h"

#include <benchmark/benchmark.h>

using namespace fenlo;
using nlohmann::ordered_json;

namespace {

const char* const text = R"({%- macro type_of(spec) -%}
{{ {'integer': 'int', 'string': 'str'}.get(spec.type, 'any') }}
{%- endmacro -%}
{%- set ns = namespace(last=0) -%}
{%- for message in messages[::-1] %}
    {%- if message.role == 'user' and not ns.last %}{% set ns.last = messages | length - loop.index0 - 1 %}{% endif %}
{%- endfor %}
{%- for tool in tools %}
{{- tool | tojson }} {{ type_of(tool.function.parameters) }}
{% endfor %}
{%- for message in messages %}
    {%- set content = message.content %}
    {%- if (message.role == 'user') != (loop.index0 % 2 == 0) %}{{ raise_exception('Turns must alternate') }}{% endif %}
    {%- if message.role == 'assistant' and '</think>' in content %}
        {%- set content = content.split('</think>')[-1].lstrip('\n') %}
    {%- endif %}
    {{- '<|turn|>' + message.role + '\n' + content | trim + '<|end|>\n' }}
{%- endfor %}
{%- if add_generation_prompt %}{{ '<|turn|>assistant\n' }}{% endif %})";

hub::Conversation conversation(std::size_t bytesOfMessage) {
    hub::Conversation made;
    for (int i = 0; i < 100; ++i) {
        std::string words = i % 2 ? "<think>\nSo, then.\n</think>\n\n" : "";
        while (words.size() < bytesOfMessage)
            words += "The quick brown fox jumps over the lazy dog, and stays there. ";
        made.messages.push_back({{"role", i % 2 ? "assistant" : "user"}, {"content", words}});
    }
    made.tools = {{{"type", "function"}, {"function", {{"name", "find"}, {"parameters", {{"type", "string"}}}}}}};
    made.addGenerationPrompt = true;
    return made;
}

void parse(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(hub::ChatTemplate::parse(text, "bench"));
}
BENCHMARK(parse)->Unit(benchmark::kMicrosecond);

void render(benchmark::State& state) {
    const hub::ChatTemplates templates = hub::ChatTemplates::parse({{"default", text}}, "bench");
    const hub::Conversation made = conversation(static_cast<std::size_t>(state.range(0)));
    const SystemClock clock;
    std::int64_t bytes = 0;
    for (auto _ : state)
        bytes += static_cast<std::int64_t>(templates.render(made, clock).text.size());
    state.SetBytesProcessed(bytes);
}
BENCHMARK(render)->Arg(200)->Arg(20'000)->Unit(benchmark::kMicrosecond);

/// What a hostile template can take before its end.
void exhaust(benchmark::State& state) {
    const auto loops = hub::ChatTemplate::parse(
        "{% set r = range(10000) %}{% for i in r %}{% for j in r %}{{ i + j }}{% endfor %}{% endfor %}", "bench");
    const auto searches = hub::ChatTemplate::parse(
        "{% set x = 'a' * 10**6 %}{% set y = 'a' * 10**5 ~ 'b' %}{% for i in range(10**6) %}{{ y in x }}{% endfor %}",
        "bench");
    const SystemClock clock;
    for (auto _ : state) {
        try {
            (state.range(0) ? searches : loops).render(ordered_json::object(), clock);
        } catch (const hub::TemplateError&) {
            continue;
        }
        state.SkipWithError("has no end");
    }
}
BENCHMARK(exhaust)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace
