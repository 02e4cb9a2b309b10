#include "hub/templates/CodePoints.h"
#include "hub/templates/Operators.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace fenlo::hub::templates {

namespace {

constexpr auto all = std::numeric_limits<std::size_t>::max() - 1; // more items than any loop has

std::size_t lengthOfLoop(Loop& loop) {
    loop.reaches(all);
    return loop.kept;
}

struct LoopProperty {
    std::string_view name;
    Value (*read)(Loop& loop);
};

Value number(std::size_t count) {
    return static_cast<std::int64_t>(count);
}

constexpr LoopProperty loopProperties[] = {
    {"index", [](Loop& loop) { return number(loop.index + 1); }},
    {"index0", [](Loop& loop) { return number(loop.index); }},
    {"revindex", [](Loop& loop) { return number(lengthOfLoop(loop) - loop.index); }},
    {"revindex0", [](Loop& loop) { return number(lengthOfLoop(loop) - loop.index - 1); }},
    {"first", [](Loop& loop) -> Value { return loop.index == 0; }},
    {"last", [](Loop& loop) -> Value { return !loop.reaches(loop.index + 1); }},
    {"length", [](Loop& loop) { return number(lengthOfLoop(loop)); }},
    {"previtem", [](Loop& loop) { return loop.index > 0 ? loop.items[loop.index - 1] : Undefined{"previtem"}; }},
    {"nextitem",
     [](Loop& loop) { return loop.reaches(loop.index + 1) ? loop.items[loop.index + 1] : Undefined{"nextitem"}; }},
};

/// The place that an index, which counts from the end when it is negative, means.
std::optional<std::size_t> place(const Value& key, std::size_t length) {
    if (!isNumber(key) || isFloat(key))
        return std::nullopt;
    const std::int64_t at = toInteger(key);
    const auto size = static_cast<std::int64_t>(length);
    if (at >= size || at < -size)
        return std::nullopt;
    return static_cast<std::size_t>(at < 0 ? at + size : at);
}

/// The indexes that a slice takes: from `begin` by `step` until `end`.
struct Indexes {
    std::int64_t begin, end, step;
    bool has(std::int64_t at) const { return step < 0 ? at > end : at < end; }
};

Indexes sliceIndexes(Runtime& run, const std::array<Value, 3>& bounds, std::size_t length) {
    const auto size = static_cast<std::int64_t>(length);
    // Steps and bounds beyond the length are all alike; this keeps the sums small.
    const auto bound = [&](const Value& given, std::int64_t whenMissing) {
        if (isNone(given))
            return whenMissing;
        requireDefined(run, given);
        if (!isNumber(given) || isFloat(given))
            run.fail("a slice wants integers, not " + std::string(kindName(given)));
        return std::clamp(toInteger(given), -size - 1, size + 1);
    };
    const std::int64_t step = bound(bounds[2], 1);
    if (step == 0)
        run.fail("a slice's step is zero");
    const std::int64_t first = step < 0 ? -1 : 0; // the lowest end of either kind
    const std::int64_t last = step < 0 ? size - 1 : size;
    const auto place = [&](const Value& given, std::int64_t whenMissing) {
        const std::int64_t at = bound(given, whenMissing);
        return isNone(given) ? at : std::clamp(at < 0 ? at + size : at, first, last);
    };
    return {place(bounds[0], step < 0 ? last : first), place(bounds[1], step < 0 ? first : last), step};
}

Value sliceText(Runtime& run, const Text& text, const std::array<Value, 3>& bounds) {
    run.work(text.utf8.size());
    const Indexes indexes = sliceIndexes(run, bounds, text.length);
    std::string part;
    if (indexes.step == 1) {
        const std::size_t begin = text.byteOf(static_cast<std::size_t>(indexes.begin));
        const std::size_t end = text.byteOf(static_cast<std::size_t>(std::max(indexes.begin, indexes.end)));
        return run.text(text.utf8.substr(begin, end - begin));
    }
    run.charge(text.length * sizeof(char32_t));
    std::u32string codePoints;
    for (std::size_t at = 0; at < text.utf8.size();)
        codePoints += takeCodePoint(text.utf8, at);
    for (std::int64_t at = indexes.begin; indexes.has(at); at += indexes.step)
        appendCodePoint(part, codePoints[static_cast<std::size_t>(at)]);
    return run.text(std::move(part));
}

} // namespace

Value attribute(Runtime& run, const Value& value, std::string_view name) {
    requireDefined(run, value);
    if (Loop* const* loop = std::get_if<Loop*>(&value)) {
        const auto* property = std::ranges::find(loopProperties, name, &LoopProperty::name);
        if (property != std::end(loopProperties))
            return property->read(**loop);
    }
    if (const Native* method = findMethod(value, name))
        return run.callable({.native = method, .self = value});
    const Dict* dict = asDict(value);
    const Value* member = dict ? dict->find(name) : nullptr;
    return member ? *member : Value(Undefined{name});
}

Value subscript(Runtime& run, const Value& value, const Value& key) {
    requireDefined(run, value);
    if (const List* list = asList(value)) {
        if (const std::optional<std::size_t> at = place(key, list->items.size()))
            return list->items[*at];
    } else if (const Text* text = asText(value)) {
        run.work(text->isAscii() ? 0 : text->utf8.size());
        if (const std::optional<std::size_t> at = place(key, text->length))
            return run.character(*text, text->byteOf(*at));
    } else if (const Dict* dict = asDict(value)) {
        if (const Value* member = run.find(*dict, key))
            return *member;
    }
    return asText(key) ? attribute(run, value, asText(key)->utf8) : Undefined{};
}

Value slice(Runtime& run, const Value& value, const std::array<Value, 3>& bounds) {
    requireDefined(run, value);
    if (const Text* text = asText(value))
        return sliceText(run, *text, bounds);
    const List* list = asList(value);
    if (!list)
        run.fail(std::string(kindName(value)) + " cannot be sliced");
    const Indexes indexes = sliceIndexes(run, bounds, list->items.size());
    std::vector<Value> items;
    for (std::int64_t at = indexes.begin; indexes.has(at); at += indexes.step)
        items.push_back(list->items[static_cast<std::size_t>(at)]);
    return run.list(std::move(items), list->isTuple);
}

std::vector<Value> itemsOf(Runtime& run, const Value& value) {
    run.charge(lengthOf(run, value) * sizeof(Value));
    std::vector<Value> items;
    if (const List* list = asList(value)) {
        items = list->items;
    } else if (const Dict* dict = asDict(value)) {
        for (const Dict::Entry& entry : dict->entries)
            items.push_back(entry.first);
    } else if (const Text* text = asText(value)) {
        for (std::size_t at = 0; at < text->utf8.size();) {
            items.push_back(run.character(*text, at));
            takeCodePoint(text->utf8, at);
        }
    }
    return items;
}

std::size_t lengthOf(Runtime& run, const Value& value) {
    if (const List* list = asList(value))
        return list->items.size();
    if (const Text* text = asText(value))
        return text->length;
    const Dict* dict = asDict(value);
    if (dict && !dict->isNamespace)
        return dict->entries.size();
    if (!isUndefined(value))
        run.fail(std::string(kindName(value)) + " is no sequence");
    return 0;
}

} // namespace fenlo::hub::templates
