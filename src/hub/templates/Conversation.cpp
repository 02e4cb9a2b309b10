#include "hub/templates/Conversation.h"

#include "base/Json.h"
#include "hub/templates/Runtime.h"

#include <algorithm>

namespace fenlo::hub {

ChatTemplates ChatTemplates::parse(const std::vector<NamedTemplate>& templates, const std::string& source) {
    ChatTemplates parsed;
    parsed.m_source = source;
    for (const NamedTemplate& it : templates) {
        const std::string shown = templates.size() == 1 ? source : source + " (" + it.name + ")";
        parsed.m_entries.push_back({it.name, ChatTemplate::parse(it.text, shown)});
    }
    return parsed;
}

const ChatTemplate& ChatTemplates::choose(std::string_view name, bool hasTools) const {
    const auto find = [this](std::string_view wanted) {
        const auto found = std::ranges::find(m_entries, wanted, &Entry::name);
        return found == m_entries.end() ? nullptr : &found->chatTemplate;
    };
    const ChatTemplate* chosen = find(name);
    if (name.empty() && hasTools)
        chosen = find("tool_use");
    if (name.empty() && !chosen)
        chosen = find("default");
    if (!chosen)
        templates::failTemplate(m_source, 1, "has no chat template named " + inQuotes(name.empty() ? "default" : name));
    return *chosen;
}

Rendering ChatTemplates::render(const Conversation& conversation, const Clock& clock, std::string_view name,
                                const RenderLimits& limits) const {
    nlohmann::ordered_json context = {
        {"messages", conversation.messages},   {"tools", conversation.tools},
        {"documents", conversation.documents}, {"add_generation_prompt", conversation.addGenerationPrompt},
        {"bos_token", conversation.bosToken},  {"eos_token", conversation.eosToken},
    };
    for (const auto& [key, value] : conversation.extra.items())
        context[key] = value;
    const bool hasTools = !conversation.tools.empty();
    return choose(name, hasTools).render(context, clock, limits);
}

} // namespace fenlo::hub
