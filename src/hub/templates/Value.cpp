#include "hub/templates/Value.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace fenlo::hub::templates {

namespace {

constexpr std::size_t indexedFrom = 17; // entries; fewer are faster to walk through

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

int keyRank(const Value& key) {
    return isNumber(key) ? 1 : static_cast<int>(key.index()) + 2;
}

bool sameKey(const Value& a, const Value& b) {
    return !KeyOrder()(a, b) && !KeyOrder()(b, a);
}

} // namespace

std::size_t countCodePoints(std::string_view utf8) {
    return utf8.size() - static_cast<std::size_t>(std::ranges::count_if(utf8, isContinuation));
}

std::size_t Text::byteOf(std::size_t codePoint) const {
    if (isAscii() || codePoint == 0)
        return std::min(codePoint, utf8.size());
    std::size_t at = 0;
    for (; at < utf8.size(); ++at)
        if (!isContinuation(utf8[at]) && codePoint-- == 0)
            break;
    return at;
}

bool KeyOrder::operator()(const Value& a, const Value& b) const {
    if (keyRank(a) != keyRank(b))
        return keyRank(a) < keyRank(b);
    if (asText(a))
        return asText(a)->utf8 < asText(b)->utf8;
    if (!isNumber(a))
        return false;
    const int order = compareNumbers(a, b);
    return order == 2 ? !std::isnan(toDouble(a)) && std::isnan(toDouble(b)) : order < 0;
}

std::size_t Dict::place(const Value& key) const {
    if (!m_index.empty()) {
        const auto found = m_index.find(key);
        return found == m_index.end() ? entries.size() : found->second;
    }
    const auto found = std::ranges::find_if(entries, [&](const Entry& entry) { return sameKey(entry.first, key); });
    return static_cast<std::size_t>(found - entries.begin());
}

const Value* Dict::find(const Value& key) const {
    const std::size_t at = place(key);
    return at == entries.size() ? nullptr : &entries[at].second;
}

const Value* Dict::find(std::string_view key) const {
    if (!m_index.empty()) {
        const Text text{std::string(key), 0};
        return find(Value(&text));
    }
    for (const Entry& entry : entries)
        if (const Text* text = asText(entry.first); text && text->utf8 == key)
            return &entry.second;
    return nullptr;
}

void Dict::set(const Value& key, const Value& value) {
    const std::size_t at = place(key);
    if (at < entries.size()) {
        entries[at].second = value;
        return;
    }
    entries.emplace_back(key, value);
    if (entries.size() == indexedFrom)
        makeIndex();
    else if (entries.size() > indexedFrom)
        m_index.emplace(key, at);
}

void Dict::erase(const Value& key) {
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(place(key)));
    makeIndex();
}

void Dict::makeIndex() {
    m_index.clear();
    for (std::size_t i = 0; i < entries.size() && entries.size() >= indexedFrom; ++i)
        m_index.emplace(entries[i].first, i);
}

bool isNumber(const Value& value) {
    return std::holds_alternative<bool>(value) || std::holds_alternative<std::int64_t>(value) || isFloat(value);
}

double toDouble(const Value& number) {
    return isFloat(number) ? std::get<double>(number) : static_cast<double>(toInteger(number));
}

std::int64_t toInteger(const Value& number) {
    const bool* flag = std::get_if<bool>(&number);
    return flag ? (*flag ? 1 : 0) : std::get<std::int64_t>(number);
}

int compareNumbers(const Value& a, const Value& b) {
    static_assert(std::numeric_limits<long double>::digits >= 63, "holds every integer and every float");
    const auto exact = [](const Value& number) {
        return isFloat(number) ? static_cast<long double>(toDouble(number))
                               : static_cast<long double>(toInteger(number));
    };
    const long double left = exact(a);
    const long double right = exact(b);
    return left < right ? -1 : left > right ? 1 : left == right ? 0 : 2;
}

bool Loop::reaches(std::size_t place) {
    while (kept <= place && seen < items.size()) {
        const Value item = items[seen++];
        if (!passes || passes(item))
            items[kept++] = item;
    }
    return place < kept;
}

bool truth(const Value& value) {
    if (isUndefined(value) || isNone(value))
        return false;
    if (isNumber(value))
        return toDouble(value) != 0;
    if (const Text* text = asText(value))
        return !text->utf8.empty();
    if (const List* list = asList(value))
        return !list->items.empty();
    const Dict* dict = asDict(value);
    return !dict || dict->isNamespace || !dict->entries.empty();
}

std::string_view kindName(const Value& value) {
    static constexpr std::array<std::string_view, std::variant_size_v<Value>> names{
        "an undefined value", "none",   "a boolean", "an integer", "a float",
        "a string",           "a list", "a mapping", "a loop",     "a function"};
    if (const List* list = asList(value); list && list->isTuple)
        return "a tuple";
    if (const Dict* dict = asDict(value); dict && dict->isNamespace)
        return "a namespace";
    return names[value.index()];
}

} // namespace fenlo::hub::templates
