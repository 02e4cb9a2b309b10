#include "hub/templates/Operators.h"

/// The tests behind `is`.
namespace fenlo::hub::templates {

namespace {

template <typename T>
Value isOf(Call& call) {
    return std::holds_alternative<T>(call.self);
}

template <bool wanted>
Value isBoolean(Call& call) {
    const bool* flag = std::get_if<bool>(&call.self);
    return flag && *flag == wanted;
}

/// With one of the operators, written between the value and the argument.
template <char first, char second = 0>
Value compares(Call& call) {
    constexpr char symbol[] = {first, second, 0};
    return operate(call.run, symbol, call.self, call[0]);
}

bool isDivisible(const Call& call, const Value& by) {
    if (!isNumber(call.self))
        call.failWants("a number", call.self);
    return toDouble(operate(call.run, "%", call.self, by)) == 0;
}

bool isMapping(const Call& call) {
    const Dict* dict = asDict(call.self);
    return dict && !dict->isNamespace;
}

/// What has a length and items: undefined values are sequences too, of nothing.
Value isSequence(Call& call) {
    return asText(call.self) || asList(call.self) || isUndefined(call.self) || isMapping(call);
}

constexpr NativeRow testRows[] = {
    {isTest, "!= ne", "other", compares<'!', '='>},
    {isTest, "< lessthan lt", "other", compares<'<'>},
    {isTest, "<= le", "other", compares<'<', '='>},
    {isTest, "== eq equalto", "other", compares<'=', '='>},
    {isTest, "> greaterthan gt", "other", compares<'>'>},
    {isTest, ">= ge", "other", compares<'>', '='>},
    {isTest, "boolean", "", isOf<bool>},
    {isTest, "callable", "", [](Call& call) -> Value { return std::holds_alternative<Callable*>(call.self); }},
    {isTest, "defined", "", [](Call& call) -> Value { return !isUndefined(call.self); }},
    {isTest, "divisibleby", "num", [](Call& call) -> Value { return isDivisible(call, call[0]); }},
    {isTest, "even", "", [](Call& call) -> Value { return isDivisible(call, std::int64_t{2}); }},
    {isTest, "false", "", isBoolean<false>},
    {isTest, "float", "", isOf<double>},
    {isTest, "in", "seq", [](Call& call) -> Value { return contains(call.run, call[0], call.self); }},
    {isTest, "integer", "", isOf<std::int64_t>},
    {isTest, "iterable sequence", "", isSequence},
    {isTest, "mapping", "", [](Call& call) -> Value { return isMapping(call); }},
    {isTest, "none", "", isOf<None>},
    {isTest, "number", "", [](Call& call) -> Value { return isNumber(call.self); }},
    {isTest, "odd", "", [](Call& call) -> Value { return !isDivisible(call, std::int64_t{2}); }},
    {isTest, "sameas", "other", [](Call& call) -> Value { return isSame(call.self, call[0]); }},
    {isTest, "string", "", isOf<const Text*>},
    {isTest, "true", "", isBoolean<true>},
    {isTest, "undefined", "", isOf<Undefined>},
};

} // namespace

std::span<const NativeRow> tests() {
    return testRows;
}

} // namespace fenlo::hub::templates
