#include "base/Json.h"

#include <nlohmann/json.hpp>
#include <unordered_map>
#include <vector>

namespace fenlo {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

constexpr std::size_t shownOfText = 60; // bytes

/// Builds the value of a text. The library's own reader looks through all members of an object for each of its keys.
class OrderedReader final : public nlohmann::json_sax<ordered_json> {
public:
    explicit OrderedReader(ordered_json& result) : m_result(result) {}

    bool null() override { return add({}); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(value); }
    bool number_unsigned(number_unsigned_t value) override { return add(value); }
    bool number_float(number_float_t value, const string_t&) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t&) override { return false; }
    bool start_object(std::size_t) override { return open(ordered_json::object()); }
    bool start_array(std::size_t) override { return open(ordered_json::array()); }
    bool key(string_t& value) override {
        m_open.back().key = std::move(value);
        return true;
    }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

private:
    struct Level {
        ordered_json value;
        std::string key; // of the member that comes
        std::unordered_map<std::string, std::size_t> places;
    };

    bool open(ordered_json value) {
        m_open.push_back({std::move(value), {}, {}});
        return true;
    }

    bool close() {
        ordered_json value = std::move(m_open.back().value);
        m_open.pop_back();
        return add(std::move(value));
    }

    bool add(ordered_json value) {
        if (m_open.empty()) {
            m_result = std::move(value);
        } else if (Level& level = m_open.back(); level.value.is_array()) {
            level.value.push_back(std::move(value));
        } else {
            auto& members = level.value.get_ref<ordered_json::object_t&>();
            const auto [place, isNew] = level.places.emplace(level.key, members.size());
            if (isNew)
                members.emplace_back(std::move(level.key), std::move(value));
            else
                members.begin()[static_cast<std::ptrdiff_t>(place->second)].second = std::move(value);
        }
        return true;
    }

    std::vector<Level> m_open;
    ordered_json& m_result;
};

} // namespace

json parseJson(std::string_view text) {
    return json::parse(text, nullptr, false);
}

ordered_json parseOrderedJson(std::string_view text) {
    ordered_json result;
    OrderedReader reader(result);
    return ordered_json::sax_parse(text, &reader) ? result : ordered_json(ordered_json::value_t::discarded);
}

json parseJsonOrThrow(std::string_view text) {
    return json::parse(text);
}

std::string writeJson(const json& value, int indent) {
    return value.dump(indent, ' ', false, json::error_handler_t::replace);
}

std::string writeJson(const ordered_json& value, int indent) {
    return value.dump(indent, ' ', false, json::error_handler_t::replace);
}

std::string quoteJson(std::string_view text) {
    return json(text).dump(-1, ' ', true, json::error_handler_t::replace);
}

std::string inQuotes(std::string_view text) {
    return quoteJson(text.substr(0, shownOfText));
}

} // namespace fenlo
