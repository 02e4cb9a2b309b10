#pragma once

#include <simdjson.h>
#include <string>
#include <string_view>

namespace fenlo {

/// Calls `use` with the key and the value of each member, in their order. Returns false as soon as `use` does, and for
/// any value but an object.
template <typename Source, typename Use>
bool forEachMember(Source&& source, Use use) {
    simdjson::ondemand::object members;
    if (source.get_object().get(members))
        return false;
    for (auto member : members) {
        std::string_view key;
        simdjson::ondemand::value value;
        if (member.unescaped_key().get(key) || member.value().get(value) || !use(std::string(key), value))
            return false;
    }
    return true;
}

/// The JSON text of a value; empty when it is incomplete.
inline std::string_view textOf(simdjson::ondemand::value value) {
    std::string_view text;
    return simdjson::to_json_string(value).get(text) ? std::string_view() : text;
}

} // namespace fenlo
