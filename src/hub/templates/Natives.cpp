#include "base/Json.h"
#include "base/Text.h"
#include "hub/templates/Runtime.h"
#include "hub/templates/ValueText.h"

#include <algorithm>
#include <map>

/// How native functions are found and called.
namespace fenlo::hub::templates {

namespace {

using NativeTable = std::map<std::pair<unsigned, std::string_view>, Native>; // by role and name

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    while (!text.empty()) {
        words.push_back(text.substr(0, text.find(' ')));
        text.remove_prefix(std::min(words.back().size() + 1, text.size()));
    }
    return words;
}

void addRow(NativeTable& table, const NativeRow& row) {
    Native native{{}, {}, 0, row.parameters == "*", row.apply};
    for (std::string_view parameter : wordsOf(native.takesAny ? "" : row.parameters)) {
        const bool isOptional = parameter.ends_with('?');
        parameter.remove_suffix(isOptional ? 1 : 0);
        native.parameters.push_back(parameter);
        native.required += isOptional ? 0 : 1;
    }
    for (const std::string_view name : wordsOf(row.names))
        for (unsigned role = 1; role <= row.roles; role *= 2)
            if (native.name = name; row.roles & role)
                table.emplace(std::pair(role, name), native);
}

NativeTable makeTable() {
    NativeTable table;
    for (const auto& rows : {globalFunctions(), listFunctions(), numberFunctions(), tests(), textFunctions()})
        for (const NativeRow& row : rows)
            addRow(table, row);
    return table;
}

} // namespace

const Native* findNative(Role role, std::string_view name) {
    static const NativeTable table = makeTable();
    const auto found = table.find({role, name});
    return found == table.end() ? nullptr : &found->second;
}

const Native* findMethod(const Value& value, std::string_view name) {
    if (asText(value))
        return findNative(isTextMethod, name);
    if (const List* list = asList(value); list && !list->isTuple)
        return findNative(isListMethod, name);
    if (const Dict* dict = asDict(value); dict && !dict->isNamespace)
        return findNative(isDictMethod, name);
    return std::holds_alternative<Loop*>(value) ? findNative(isLoopMethod, name) : nullptr;
}

std::vector<const Value*> Arguments::bind(Runtime& run, std::string_view function,
                                          std::span<const std::string_view> parameters) const {
    run.step(parameters.size() + named.size() * parameters.size());
    if (positional.size() > parameters.size())
        run.fail(std::string(function) + ": takes no more than " + std::to_string(parameters.size()) + " arguments");
    std::vector<const Value*> bound(parameters.size());
    std::ranges::transform(positional, bound.begin(), [](const Value& value) { return &value; });
    for (const auto& [name, value] : named) {
        const auto place = static_cast<std::size_t>(std::ranges::find(parameters, name) - parameters.begin());
        if (place == parameters.size() || bound[place])
            run.fail(std::string(function) + ": has no place for the argument " + inQuotes(name));
        bound[place] = &value;
    }
    return bound;
}

Value applyNative(Runtime& run, const Native& native, const Value& self, const Arguments& arguments) {
    run.step();
    Call call{run, native.name, self, arguments, {}};
    if (native.takesAny)
        return native.apply(call);
    const std::vector<const Value*> bound = arguments.bind(run, native.name, native.parameters);
    for (std::size_t i = 0; i < bound.size(); ++i)
        if (bound[i])
            call.parameters[i] = *bound[i];
        else if (i < native.required)
            call.fail("the argument " + inQuotes(native.parameters[i]) + " is missing");
    return native.apply(call);
}

void Call::fail(std::string_view fault) const {
    run.fail(std::string(function) + ": " + std::string(fault));
}

void Call::failWants(std::string_view wanted, const Value& value) const {
    fail("wants " + std::string(wanted) + ", not " + std::string(kindName(value)));
}

std::string_view Call::text(std::size_t at, std::string_view fallback) const {
    if (!has(at))
        return fallback;
    if (const Text* text = asText(parameters[at]))
        return text->utf8;
    failWants("a string", parameters[at]);
}

std::int64_t Call::integer(std::size_t at, std::int64_t fallback) const {
    if (!has(at))
        return fallback;
    if (!isNumber(parameters[at]) || isFloat(parameters[at]))
        failWants("an integer", parameters[at]);
    return toInteger(parameters[at]);
}

const Text& Call::selfText() const {
    return toText(run, self);
}

} // namespace fenlo::hub::templates
