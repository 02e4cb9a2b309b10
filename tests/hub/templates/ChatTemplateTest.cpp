// Templates of the shapes that published models use. Each file NAME.jinja in data/ has NAME.json beside it: what it is
// rendered with, and what must come out, which was derived by hand from the language's published rules.

#include "base/Files.h"
#include "base/Json.h"
#include "hub/templates/Conversation.h"
#include "support/EnvironmentVariable.h"
#include "support/VirtualTime.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

using namespace fenlo;
using namespace fenlo::hub;
using nlohmann::ordered_json;

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

Conversation conversationOf(const ordered_json& example) {
    Conversation conversation;
    conversation.messages = example.value("messages", ordered_json::array());
    conversation.tools = example.value("tools", ordered_json());
    conversation.documents = example.value("documents", ordered_json());
    conversation.addGenerationPrompt = example.value("add_generation_prompt", false);
    conversation.bosToken = example.value("bos_token", "");
    conversation.eosToken = example.value("eos_token", "");
    conversation.extra = example.value("extra", ordered_json::object());
    return conversation;
}

/// 2026-11-05 09:05:03 UTC.
struct AtNine {
    AtNine() { clock.advance(93868503); }
    const test::EnvironmentVariable zone{"TZ", "UTC"};
    test::VirtualClock clock;
};

void expectExample(const ChatTemplates& templates, const ordered_json& example, const Clock& clock) {
    try {
        const Rendering rendering = templates.render(conversationOf(example), clock);
        EXPECT_EQ(rendering.text, example.value("expected", "an error"));
        std::vector<std::string> generated;
        for (const Rendering::Range& range : rendering.generated)
            generated.push_back(rendering.text.substr(range.begin, range.end - range.begin));
        EXPECT_EQ(generated, example.value("generated", std::vector<std::string>()));
    } catch (const TemplateError& error) {
        EXPECT_EQ(error.what(), example.value("error", "no error"));
    }
}

} // namespace

TEST(ChatTemplate, PublishedShapes) {
    const AtNine time;
    int count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(TEMPLATE_FOLDER)) {
        if (entry.path().extension() != ".jinja")
            continue;
        ++count;
        const std::string name = entry.path().stem();
        const ChatTemplates templates = ChatTemplates::parse({{"default", contentOf(entry.path())}}, name);
        const ordered_json examples = parseOrderedJson(contentOf(fs::path(entry.path()).replace_extension(".json")));
        ASSERT_FALSE(examples.empty()) << name;
        for (std::size_t i = 0; i < examples.size(); ++i) {
            SCOPED_TRACE(name + ", example " + std::to_string(i + 1));
            expectExample(templates, examples[i], time.clock);
        }
    }
    EXPECT_GE(count, 20);
}

TEST(ChatTemplate, ChoiceAmongNamedTemplates) {
    const test::VirtualClock clock;
    const ChatTemplates several = ChatTemplates::parse(
        {{"default", "plain"}, {"tool_use", "{{ tools|length }}"}, {"rag", "{{ x.y.z }}"}}, "m.json");
    Conversation conversation;
    EXPECT_EQ(several.render(conversation, clock).text, "plain");
    conversation.tools = ordered_json::array({1, 2});
    EXPECT_EQ(several.render(conversation, clock).text, "2");
    EXPECT_EQ(several.render(conversation, clock, "default").text, "plain");
    const auto errorOf = [&](const char* name) -> std::string {
        try {
            return several.render(conversation, clock, name).text;
        } catch (const TemplateError& error) {
            return error.what();
        }
    };
    EXPECT_EQ(errorOf("rag"), "m.json (rag):1: \"x\" is undefined");
    EXPECT_EQ(errorOf("poem"), "m.json:1: has no chat template named \"poem\"");
    const ChatTemplates single = ChatTemplates::parse({{"default", "{{ bos_token }}{{ a }}"}}, "m.json");
    conversation.extra = {{"a", 1}, {"bos_token", "B"}};
    EXPECT_EQ(single.render(conversation, clock).text, "B1");
}

TEST(ChatTemplate, OneTemplateServesSeveralThreads) {
    const test::VirtualClock clock;
    const ChatTemplate chatTemplate = ChatTemplate::parse(
        "{% set ns = namespace(t='') %}{% for m in messages %}{% set ns.t = ns.t ~ m %}{% endfor %}{{ ns.t }}", "t");
    std::array<std::string, 4> results;
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < results.size(); ++i)
            threads.emplace_back([&, i] {
                const ordered_json context = {{"messages", std::vector<std::size_t>(50, i)}};
                for (int round = 0; round < 20; ++round)
                    results[i] = chatTemplate.render(context, clock).text;
            });
    }
    for (std::size_t i = 0; i < results.size(); ++i)
        EXPECT_EQ(results[i], std::string(50, static_cast<char>('0' + i)));
}
