#include "base/Json.h"
#include "base/Text.h"
#include "hub/templates/Operators.h"
#include "hub/templates/ValueText.h"

#include <algorithm>

/// Filters of lists and other sequences, and what mappings share with them.
namespace fenlo::hub::templates {

namespace {

/// "a.b.0" of an item: its member a, of that b, of that the first. An integer is an index.
Value memberOf(Runtime& run, Value item, const Value& path) {
    if (!asText(path))
        return subscript(run, item, path);
    std::string_view rest = asText(path)->utf8;
    while (true) {
        const std::string_view name = rest.substr(0, rest.find('.'));
        const std::optional<std::int64_t> index = parseInteger(name);
        item = subscript(run, item, index ? Value(*index) : run.text(std::string(name)));
        if (name.size() == rest.size())
            return item;
        rest.remove_prefix(name.size() + 1);
    }
}

/// A value by which items are compared: itself or a member, of texts the lower case.
Value comparable(Call& call, const Value& item, const Value& path, bool isCaseSensitive) {
    const Value value = isUndefined(path) || isNone(path) ? item : memberOf(call.run, item, path);
    const Text* text = asText(value);
    return text && !isCaseSensitive ? call.run.text(text::lower(text->utf8)) : value;
}

struct Keyed {
    Value key, item;
};

std::vector<Keyed> withKeys(Call& call, const Value& path, bool isCaseSensitive) {
    std::vector<Keyed> keyed;
    for (const Value& item : itemsOf(call.run, call.self)) {
        call.run.charge(sizeof(Keyed));
        keyed.push_back({comparable(call, item, path, isCaseSensitive), item});
    }
    return keyed;
}

void sortByKeys(Runtime& run, std::vector<Keyed>& keyed, bool isReversed = false) {
    std::ranges::stable_sort(keyed, [&](const Keyed& a, const Keyed& b) {
        return isReversed ? less(run, b.key, a.key) : less(run, a.key, b.key);
    });
}

Value itemsList(Call& call, const std::vector<Keyed>& keyed) {
    std::vector<Value> items(keyed.size());
    std::ranges::transform(keyed, items.begin(), &Keyed::item);
    return call.run.list(std::move(items));
}

Value sorted(Call& call) {
    if (asText(call[2]) && asText(call[2])->utf8.find(',') != std::string::npos)
        call.fail("sorts by one attribute");
    std::vector<Keyed> keyed = withKeys(call, call[2], call.flag(1));
    sortByKeys(call.run, keyed, call.flag(0));
    return itemsList(call, keyed);
}

Value unique(Call& call) {
    std::vector<Keyed> kept;
    Dict seen;
    for (const Keyed& keyed : withKeys(call, call[1], call.flag(0))) {
        if (call.run.find(seen, keyed.key))
            continue;
        call.run.set(seen, keyed.key, true);
        kept.push_back(keyed);
    }
    return itemsList(call, kept);
}

template <bool isLargest>
Value extreme(Call& call) {
    const std::vector<Keyed> keyed = withKeys(call, call[1], call.flag(0));
    const Keyed* best = keyed.empty() ? nullptr : &keyed.front();
    for (const Keyed& it : keyed)
        if (isLargest ? less(call.run, best->key, it.key) : less(call.run, it.key, best->key))
            best = &it;
    return best ? best->item : Value(Undefined{"an extreme of nothing"});
}

Value dictSorted(Call& call) {
    const Dict* dict = asDict(call.self);
    if (!dict)
        call.failWants("a mapping", call.self);
    const bool isByValue = call.text(1, "key") == "value";
    std::vector<Keyed> keyed;
    for (const auto& [key, value] : dict->entries)
        keyed.push_back({comparable(call, isByValue ? value : key, {}, call.flag(0)), call.run.pair(key, value)});
    sortByKeys(call.run, keyed, call.flag(2));
    return itemsList(call, keyed);
}

/// The rest of the arguments, behind the first `count`.
Arguments argumentsAfter(const Call& call, std::size_t count) {
    Arguments rest = call.given;
    rest.positional.erase(rest.positional.begin(), rest.positional.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                                                 count, rest.positional.size())));
    return rest;
}

const Value* namedArgument(const Call& call, std::string_view name) {
    const auto found = std::ranges::find(call.given.named, name, &std::pair<std::string_view, Value>::first);
    return found == call.given.named.end() ? nullptr : &found->second;
}

/// The filter or test that an argument names.
const Native& nativeNamed(Call& call, Role role, std::size_t argument) {
    const Text* name = argument < call.given.positional.size() ? asText(call.given.positional[argument]) : nullptr;
    if (!name)
        call.fail("wants a name first");
    if (const Native* native = findNative(role, name->utf8))
        return *native;
    call.fail("there is no " + std::string(role == isFilter ? "filter " : "test ") + inQuotes(name->utf8));
}

/// `map` with an attribute, or with the name of a filter and its arguments.
Value mapped(Call& call) {
    const Runtime::Level level(call.run); // filters may name each other
    std::vector<Value> items = itemsOf(call.run, call.self);
    const Value* path = call.given.positional.empty() ? namedArgument(call, "attribute") : nullptr;
    const Value* fallback = namedArgument(call, "default");
    const Native* filter = path ? nullptr : &nativeNamed(call, isFilter, 0);
    const Arguments rest = argumentsAfter(call, 1);
    for (Value& item : items) {
        item = path ? memberOf(call.run, item, *path) : applyNative(call.run, *filter, item, rest);
        if (path && fallback && isUndefined(item))
            item = *fallback;
    }
    return call.run.list(std::move(items));
}

/// The items whose value, or member where there is a path, is true or passes a test.
template <bool hasPath, bool keepsPassing>
Value chosen(Call& call) {
    const Runtime::Level level(call.run);
    if (hasPath && call.given.positional.empty())
        call.fail("wants the name of an attribute first");
    const std::size_t place = hasPath ? 1 : 0;
    const Native* test = call.given.positional.size() > place ? &nativeNamed(call, isTest, place) : nullptr;
    const Arguments rest = argumentsAfter(call, place + 1);
    std::vector<Value> items = itemsOf(call.run, call.self);
    std::erase_if(items, [&](const Value& item) {
        call.run.step();
        const Value value = hasPath ? memberOf(call.run, item, call.given.positional[0]) : item;
        return truth(test ? applyNative(call.run, *test, value, rest) : value) != keepsPassing;
    });
    return call.run.list(std::move(items));
}

Value joinedItems(Call& call) {
    std::vector<Value> items = itemsOf(call.run, call.self);
    if (call.has(1))
        for (Value& item : items)
            item = memberOf(call.run, item, call[1]);
    return joined(call.run, items, call.text(0));
}

Value summed(Call& call) {
    Value sum = call.has(1) ? call[1] : Value(std::int64_t{0});
    for (const Value& item : itemsOf(call.run, call.self))
        sum = operate(call.run, "+", sum, call.has(0) ? memberOf(call.run, item, call[0]) : item);
    return sum;
}

Value reversed(Call& call) {
    std::vector<Value> items = itemsOf(call.run, call.self);
    std::ranges::reverse(items);
    return asText(call.self) ? joined(call.run, items, "") : Value(call.run.list(std::move(items)));
}

template <bool isLast>
Value edge(Call& call) {
    if (asText(call.self) || asList(call.self))
        return subscript(call.run, call.self, std::int64_t{isLast ? -1 : 0});
    const std::vector<Value> items = itemsOf(call.run, call.self);
    return items.empty() ? Value(Undefined{"an item of nothing"}) : isLast ? items.back() : items.front();
}

Value orDefault(Call& call) {
    const bool isGiven = call.flag(1) ? truth(call.self) : !isUndefined(call.self);
    return isGiven ? call.self : isUndefined(call[0]) ? call.run.text("") : call[0];
}

Value entriesOf(Call& call) {
    const Dict* dict = asDict(call.self);
    if (!dict && !isUndefined(call.self))
        call.failWants("a mapping", call.self);
    List* pairs = call.run.list({});
    if (dict)
        for (const auto& [key, value] : dict->entries)
            call.run.append(*pairs, call.run.pair(key, value));
    return pairs;
}

Value length(Call& call) {
    return static_cast<std::int64_t>(lengthOf(call.run, call.self));
}

/// The items of a list, the keys of a mapping.
Value keys(Call& call) {
    return call.run.list(itemsOf(call.run, call.self));
}

Value valuesOf(Call& call) {
    List* values = call.run.list({});
    for (const Dict::Entry& entry : asDict(call.self)->entries)
        call.run.append(*values, entry.second);
    return values;
}

constexpr NativeRow listRows[] = {
    {isFilter, "attr", "name", [](Call& call) { return attribute(call.run, call.self, call.text(0)); }},
    {isFilter, "count length", "", length},
    {isFilter, "d default", "default_value? boolean?", orDefault},
    {isFilter, "dictsort", "case_sensitive? by? reverse?", dictSorted},
    {isFilter, "first", "", edge<false>},
    {isFilter | isDictMethod, "items", "", entriesOf},
    {isFilter, "join", "d? attribute?", joinedItems},
    {isDictMethod, "keys", "", keys},
    {isFilter, "last", "", edge<true>},
    {isFilter, "list", "", keys},
    {isFilter, "map", "*", mapped},
    {isFilter, "max", "case_sensitive? attribute?", extreme<true>},
    {isFilter, "min", "case_sensitive? attribute?", extreme<false>},
    {isFilter, "reject", "*", chosen<false, false>},
    {isFilter, "rejectattr", "*", chosen<true, false>},
    {isFilter, "reverse", "", reversed},
    {isFilter, "select", "*", chosen<false, true>},
    {isFilter, "selectattr", "*", chosen<true, true>},
    {isFilter, "sort", "reverse? case_sensitive? attribute?", sorted},
    {isFilter, "sum", "attribute? start?", summed},
    {isFilter, "unique", "case_sensitive? attribute?", unique},
    {isDictMethod, "values", "", valuesOf},
};

} // namespace

std::span<const NativeRow> listFunctions() {
    return listRows;
}

} // namespace fenlo::hub::templates
