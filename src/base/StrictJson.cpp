#include "base/StrictJson.h"

#include "base/Json.h"

#include <utility>

namespace fenlo {

using nlohmann::json;

namespace {

constexpr std::size_t deepest = 64;
constexpr std::size_t shownOfKey = 60; // bytes

} // namespace

StrictJsonReader::StrictJsonReader() = default;

json StrictJsonReader::read(std::string_view text) {
    json::sax_parse(text, static_cast<nlohmann::json_sax<json>*>(this));
    return std::exchange(m_root, {});
}

void StrictJsonReader::value(json it) {
    place(std::move(it));
}

void StrictJsonReader::open(json container) {
    if (m_open.size() == deepest)
        throw JsonFault("is nested too deeply");
    m_open.push_back(place(std::move(container)));
}

void StrictJsonReader::close() {
    m_open.pop_back();
}

const std::string& StrictJsonReader::nextKey() const {
    static const std::string none;
    return m_open.empty() || m_open.back()->is_array() ? none : m_key;
}

json* StrictJsonReader::place(json it) {
    if (m_open.empty())
        return &(m_root = std::move(it));
    json& parent = *m_open.back();
    if (parent.is_array())
        return &parent.emplace_back(std::move(it));
    const auto [member, isNew] = parent.emplace(m_key, std::move(it));
    if (!isNew)
        throw JsonFault("has " + quoteJson(std::string_view(m_key).substr(0, shownOfKey)) + " twice in one place");
    return &*member;
}

bool StrictJsonReader::null() {
    value(nullptr);
    return true;
}

bool StrictJsonReader::boolean(bool it) {
    value(it);
    return true;
}

bool StrictJsonReader::number_integer(number_integer_t it) {
    value(it);
    return true;
}

bool StrictJsonReader::number_unsigned(number_unsigned_t it) {
    value(it);
    return true;
}

bool StrictJsonReader::number_float(number_float_t it, const string_t&) {
    value(it);
    return true;
}

bool StrictJsonReader::string(string_t& it) {
    value(std::move(it));
    return true;
}

bool StrictJsonReader::binary(binary_t&) {
    return false; // JSON text has none
}

bool StrictJsonReader::start_object(std::size_t) {
    open(json::object());
    return true;
}

bool StrictJsonReader::key(string_t& it) {
    m_key = std::move(it);
    return true;
}

bool StrictJsonReader::end_object() {
    close();
    return true;
}

bool StrictJsonReader::start_array(std::size_t) {
    open(json::array());
    return true;
}

bool StrictJsonReader::end_array() {
    close();
    return true;
}

bool StrictJsonReader::parse_error(std::size_t position, const std::string&, const json::exception&) {
    throw JsonFault("is not valid JSON at byte " + std::to_string(position));
}

} // namespace fenlo
