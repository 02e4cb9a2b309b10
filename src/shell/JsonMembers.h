#pragma once

#include <simdjson.h>
#include <string>
#include <string_view>

namespace fenlo {

/// Calls `use` with the key and the value of each member, in their order. False as soon as `use` says so, and for what
/// is no object.
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

/// The text of a value; empty when it is cut short.
inline std::string_view textOf(simdjson::ondemand::value value) {
    std::string_view text;
    return simdjson::to_json_string(value).get(text) ? std::string_view() : text;
}

} // namespace fenlo
