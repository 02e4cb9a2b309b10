#include "hub/templates/Operators.h"

#include "base/Json.h"
#include "hub/templates/CodePoints.h"
#include "hub/templates/ValueText.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace fenlo::hub::templates {

namespace {

[[noreturn]] void refuse(Runtime& run, std::string_view symbol, const Value& left, const Value& right) {
    requireDefined(run, left);
    requireDefined(run, right);
    run.fail("cannot use " + std::string(symbol) + " with " + std::string(kindName(left)) + " and " +
             std::string(kindName(right)));
}

void requireNumbers(Runtime& run, std::string_view symbol, const Value& left, const Value& right) {
    if (!isNumber(left) || !isNumber(right))
        refuse(run, symbol, left, right);
}

void requireDivisor(Runtime& run, const Value& right) {
    if (toDouble(right) == 0)
        run.fail("division by zero");
}

bool areWhole(const Value& left, const Value& right) {
    return !isFloat(left) && !isFloat(right);
}

using Overflows = bool (*)(std::int64_t, std::int64_t, std::int64_t*);

bool addOverflows(std::int64_t a, std::int64_t b, std::int64_t* result) {
    return __builtin_add_overflow(a, b, result);
}
bool subtractOverflows(std::int64_t a, std::int64_t b, std::int64_t* result) {
    return __builtin_sub_overflow(a, b, result);
}
bool multiplyOverflows(std::int64_t a, std::int64_t b, std::int64_t* result) {
    return __builtin_mul_overflow(a, b, result);
}

std::int64_t calculate(Runtime& run, std::int64_t a, std::int64_t b, Overflows overflows) {
    std::int64_t result = 0;
    if (overflows(a, b, &result))
        run.fail("an integer does not fit 64 bits");
    return result;
}

Value subtract(Runtime& run, const Value& left, const Value& right) {
    requireNumbers(run, "-", left, right);
    if (areWhole(left, right))
        return calculate(run, toInteger(left), toInteger(right), subtractOverflows);
    return toDouble(left) - toDouble(right);
}

/// How often a sequence is repeated; its memory is counted here.
std::size_t repetitions(Runtime& run, std::size_t bytes, const Value& times) {
    const auto count = static_cast<std::size_t>(std::max<std::int64_t>(bytes == 0 ? 0 : toInteger(times), 0));
    std::size_t all = 0;
    run.charge(__builtin_mul_overflow(count, bytes, &all) ? std::numeric_limits<std::size_t>::max() : all);
    run.step(count / 16);
    return count;
}

Value repeatText(Runtime& run, const std::string& text, const Value& times) {
    const std::size_t count = repetitions(run, text.size(), times);
    std::string repeated;
    repeated.reserve(count * text.size());
    for (std::size_t i = 0; i < count; ++i)
        repeated += text;
    return run.text(std::move(repeated));
}

Value repeatList(Runtime& run, const List& list, const Value& times) {
    const std::size_t count = repetitions(run, list.items.size() * sizeof(Value), times);
    std::vector<Value> items;
    for (std::size_t i = 0; i < count; ++i)
        items.insert(items.end(), list.items.begin(), list.items.end());
    return run.list(std::move(items), list.isTuple);
}

Value multiply(Runtime& run, const Value& left, const Value& right) {
    if (isNumber(left) && isNumber(right)) {
        if (areWhole(left, right))
            return calculate(run, toInteger(left), toInteger(right), multiplyOverflows);
        return toDouble(left) * toDouble(right);
    }
    const Value& sequence = isNumber(left) ? right : left;
    const Value& times = isNumber(left) ? left : right;
    if (isNumber(times) && !isFloat(times)) {
        if (const Text* text = asText(sequence))
            return repeatText(run, text->utf8, times);
        if (const List* list = asList(sequence))
            return repeatList(run, *list, times);
    }
    refuse(run, "*", left, right);
}

Value divide(Runtime& run, const Value& left, const Value& right) {
    requireNumbers(run, "/", left, right);
    requireDivisor(run, right);
    return toDouble(left) / toDouble(right);
}

/// The remainder has the sign of the divisor.
double floatRemainder(double a, double b) {
    const double rest = std::fmod(a, b);
    return rest != 0 && (rest < 0) != (b < 0) ? rest + b : rest;
}

Value divideDown(Runtime& run, const Value& left, const Value& right) {
    requireNumbers(run, "//", left, right);
    requireDivisor(run, right);
    if (!areWhole(left, right)) {
        const double a = toDouble(left);
        const double b = toDouble(right);
        return std::round((a - floatRemainder(a, b)) / b);
    }
    const std::int64_t a = toInteger(left);
    const std::int64_t b = toInteger(right);
    if (b == -1)
        return calculate(run, 0, a, subtractOverflows);
    return a / b - (a % b != 0 && (a < 0) != (b < 0) ? 1 : 0);
}

Value remainder(Runtime& run, const Value& left, const Value& right) {
    requireNumbers(run, "%", left, right);
    requireDivisor(run, right);
    if (!areWhole(left, right))
        return floatRemainder(toDouble(left), toDouble(right));
    const std::int64_t b = toInteger(right);
    if (b == -1)
        return std::int64_t{0};
    const std::int64_t rest = toInteger(left) % b;
    return rest != 0 && (rest < 0) != (b < 0) ? rest + b : rest;
}

Value power(Runtime& run, const Value& left, const Value& right) {
    requireNumbers(run, "**", left, right);
    if (!areWhole(left, right) || toInteger(right) < 0) {
        if (toDouble(left) == 0 && toDouble(right) < 0)
            run.fail("division by zero");
        const double result = std::pow(toDouble(left), toDouble(right));
        if (!std::isfinite(result))
            run.fail("a number is too large");
        return result;
    }
    std::int64_t result = 1;
    for (std::int64_t exponent = toInteger(right); exponent > 0; --exponent) {
        run.step();
        result = calculate(run, result, toInteger(left), multiplyOverflows);
    }
    return result;
}

Value concatenate(Runtime& run, const Value& left, const Value& right) {
    std::string joined;
    print(run, left, joined);
    print(run, right, joined);
    return run.text(std::move(joined));
}

Value add(Runtime& run, const Value& left, const Value& right) {
    if (isNumber(left) && isNumber(right)) {
        if (areWhole(left, right))
            return calculate(run, toInteger(left), toInteger(right), addOverflows);
        return toDouble(left) + toDouble(right);
    }
    if (asText(left) && asText(right))
        return concatenate(run, left, right);
    const List* first = asList(left);
    const List* second = asList(right);
    if (!first || !second || first->isTuple != second->isTuple)
        refuse(run, "+", left, right);
    run.charge((first->items.size() + second->items.size()) * sizeof(Value));
    std::vector<Value> items = first->items;
    items.insert(items.end(), second->items.begin(), second->items.end());
    return run.list(std::move(items), first->isTuple);
}

bool lessLists(Runtime& run, const std::vector<Value>& a, const std::vector<Value>& b) {
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
        if (!equal(run, a[i], b[i]))
            return less(run, a[i], b[i]);
    return a.size() < b.size();
}

bool equalDicts(Runtime& run, const Dict& a, const Dict& b) {
    if (a.isNamespace || b.isNamespace || a.entries.size() != b.entries.size())
        return &a == &b;
    return std::ranges::all_of(a.entries, [&](const Dict::Entry& entry) {
        const Value* other = run.find(b, entry.first);
        return other && equal(run, entry.second, *other);
    });
}

bool lessOrEqual(Runtime& run, const Value& a, const Value& b) {
    const bool isLess = less(run, a, b);
    return isLess || equal(run, a, b);
}

bool isNotANumber(const Value& value) {
    return isFloat(value) && std::isnan(std::get<double>(value));
}

constexpr Operator operators[] = {
    {"+", add},
    {"-", subtract},
    {"*", multiply},
    {"/", divide},
    {"//", divideDown},
    {"%", remainder},
    {"**", power},
    {"~", concatenate},
    {"==", [](Runtime& run, const Value& a, const Value& b) -> Value { return equal(run, a, b); }},
    {"!=", [](Runtime& run, const Value& a, const Value& b) -> Value { return !equal(run, a, b); }},
    {"<", [](Runtime& run, const Value& a, const Value& b) -> Value { return less(run, a, b); }},
    {">", [](Runtime& run, const Value& a, const Value& b) -> Value { return less(run, b, a); }},
    {"<=", [](Runtime& run, const Value& a, const Value& b) -> Value { return lessOrEqual(run, a, b); }},
    {">=", [](Runtime& run, const Value& a, const Value& b) -> Value { return lessOrEqual(run, b, a); }},
    {"in", [](Runtime& run, const Value& a, const Value& b) -> Value { return contains(run, b, a); }},
    {"not in", [](Runtime& run, const Value& a, const Value& b) -> Value { return !contains(run, b, a); }},
};

} // namespace

const Operator* findOperator(std::string_view symbol) {
    const auto* found = std::ranges::find(operators, symbol, &Operator::symbol);
    return found == std::end(operators) ? nullptr : found;
}

Value operate(Runtime& run, std::string_view symbol, const Value& left, const Value& right) {
    return findOperator(symbol)->apply(run, left, right);
}

void requireDefined(Runtime& run, const Value& value) {
    if (const Undefined* undefined = std::get_if<Undefined>(&value))
        run.fail((undefined->name.empty() ? "an element" : inQuotes(undefined->name)) + " is undefined");
}

Value applySign(Runtime& run, char sign, const Value& value) {
    requireDefined(run, value);
    if (!isNumber(value))
        run.fail("cannot use " + std::string(1, sign) + " with " + std::string(kindName(value)));
    if (isFloat(value))
        return sign == '-' ? -toDouble(value) : value;
    return calculate(run, 0, toInteger(value), sign == '-' ? subtractOverflows : addOverflows);
}

bool equal(Runtime& run, const Value& a, const Value& b) {
    run.step();
    const Runtime::Level level(run);
    if (isNumber(a) && isNumber(b))
        return compareNumbers(a, b) == 0;
    if (a.index() != b.index())
        return false;
    if (const Text* text = asText(a); text && text->utf8.size() == asText(b)->utf8.size())
        run.work(text->utf8.size());
    if (const List* list = asList(a))
        return list->isTuple == asList(b)->isTuple &&
               std::ranges::equal(list->items, asList(b)->items,
                                  [&](const Value& x, const Value& y) { return equal(run, x, y); });
    if (const Dict* dict = asDict(a))
        return equalDicts(run, *dict, *asDict(b));
    return isSame(a, b);
}

bool isSame(const Value& a, const Value& b) {
    if (asText(a) && asText(b))
        return asText(a)->utf8 == asText(b)->utf8;
    return a.index() == b.index() &&
           std::visit(
               [&](const auto& value) {
                   using Kind = std::decay_t<decltype(value)>;
                   if constexpr (std::is_same_v<Kind, Undefined> || std::is_same_v<Kind, None>)
                       return true;
                   else
                       return value == std::get<Kind>(b);
               },
               a);
}

bool less(Runtime& run, const Value& a, const Value& b) {
    run.step();
    const Runtime::Level level(run);
    if (isNumber(a) && isNumber(b))
        return !isNotANumber(a) && !isNotANumber(b) && compareNumbers(a, b) < 0;
    const Text* left = asText(a);
    const Text* right = asText(b);
    if (left && right) {
        run.work(std::min(left->utf8.size(), right->utf8.size()));
        return left->utf8 < right->utf8;
    }
    if (!asList(a) || !asList(b) || asList(a)->isTuple != asList(b)->isTuple)
        refuse(run, "< or >", a, b);
    return lessLists(run, asList(a)->items, asList(b)->items);
}

bool contains(Runtime& run, const Value& container, const Value& item) {
    if (const Text* text = asText(container)) {
        if (!asText(item))
            refuse(run, "in", item, container);
        run.work(text->utf8.size());
        return findFirst(text->utf8, asText(item)->utf8) != std::string_view::npos;
    }
    if (const Dict* dict = asDict(container); dict && !dict->isNamespace)
        return run.find(*dict, item) != nullptr;
    if (const List* list = asList(container))
        return std::ranges::any_of(list->items, [&](const Value& value) { return equal(run, value, item); });
    if (!isUndefined(container))
        refuse(run, "in", item, container);
    return false;
}

} // namespace fenlo::hub::templates
