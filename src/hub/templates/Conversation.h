#pragma once

#include "hub/templates/ChatTemplate.h"

#include <nlohmann/json.hpp>

namespace fenlo::hub {

/// What a conversation template is rendered with.
struct Conversation {
    nlohmann::ordered_json messages = nlohmann::ordered_json::array();
    nlohmann::ordered_json tools;     // null: none
    nlohmann::ordered_json documents; // null: none
    bool addGenerationPrompt = false; // the words before an answer of the assistant follow
    std::string bosToken, eosToken;
    nlohmann::ordered_json extra = nlohmann::ordered_json::object(); // more variables, which win
};

struct NamedTemplate {
    std::string name, text;
};

/// The templates of one model: one, or several with names.
///
/// Threads: constant once parsed.
/// Errors:  TemplateError.
class ChatTemplates {
public:
    /// `source` is what error texts call the file they are from. A single template is named "default".
    static ChatTemplates parse(const std::vector<NamedTemplate>& templates, const std::string& source);

    /// The template of that name. Without one: "tool_use" where there are tools and such a template, otherwise
    /// "default".
    const ChatTemplate& choose(std::string_view name, bool hasTools) const;

    Rendering render(const Conversation& conversation, const Clock& clock, std::string_view name = {},
                     const RenderLimits& limits = {}) const;

private:
    struct Entry {
        std::string name;
        ChatTemplate chatTemplate;
    };
    std::string m_source;
    std::vector<Entry> m_entries;
};

} // namespace fenlo::hub
