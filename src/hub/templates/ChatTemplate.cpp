#include "hub/templates/ChatTemplate.h"

#include "base/Text.h"
#include "hub/templates/Renderer.h"

#include <limits>
#include <nlohmann/json.hpp>

namespace fenlo::hub {

namespace {

using nlohmann::ordered_json;
using templates::Dict;
using templates::List;
using templates::Runtime;
using templates::Value;

/// A copy in the rendering's heap, with the members of objects in their order.
Value fromJson(Runtime& run, const ordered_json& json) {
    const Runtime::Level level(run);
    run.step();
    switch (json.type()) {
    case ordered_json::value_t::string:
        return run.text(text::repairUtf8(json.get_ref<const std::string&>()));
    case ordered_json::value_t::boolean:
        return json.get<bool>();
    case ordered_json::value_t::number_unsigned:
        if (json.get<std::uint64_t>() > std::numeric_limits<std::int64_t>::max())
            run.fail("an integer of what is rendered does not fit 64 bits");
        [[fallthrough]];
    case ordered_json::value_t::number_integer:
        return json.get<std::int64_t>();
    case ordered_json::value_t::number_float:
        return json.get<double>();
    case ordered_json::value_t::array: {
        List* list = run.list({});
        for (const ordered_json& item : json)
            run.append(*list, fromJson(run, item));
        return list;
    }
    case ordered_json::value_t::object: {
        Dict* dict = run.dict();
        for (const auto& [key, value] : json.get_ref<const ordered_json::object_t&>())
            run.set(*dict, run.text(text::repairUtf8(key)), fromJson(run, value));
        return dict;
    }
    default:
        return templates::None{};
    }
}

} // namespace

struct ChatTemplate::Implementation {
    std::unique_ptr<const templates::Syntax> syntax;
};

ChatTemplate::ChatTemplate(std::unique_ptr<const Implementation> implementation)
    : m_implementation(std::move(implementation)) {}
ChatTemplate::ChatTemplate(ChatTemplate&&) noexcept = default;
ChatTemplate& ChatTemplate::operator=(ChatTemplate&&) noexcept = default;
ChatTemplate::~ChatTemplate() = default;

ChatTemplate ChatTemplate::parse(std::string_view text, const std::string& name) {
    return ChatTemplate(std::make_unique<Implementation>(Implementation{templates::parseTemplate(text, name)}));
}

Rendering ChatTemplate::render(const nlohmann::ordered_json& context, const Clock& clock,
                               const RenderLimits& limits) const {
    const templates::Syntax& syntax = *m_implementation->syntax;
    Runtime run(syntax.name, limits, clock);
    const Value variables = fromJson(run, context);
    const Dict* dict = templates::asDict(variables);
    if (!dict)
        run.fail("is rendered with " + std::string(templates::kindName(variables)) + " in place of variables");
    return templates::Renderer(syntax, run).render(*dict);
}

} // namespace fenlo::hub
