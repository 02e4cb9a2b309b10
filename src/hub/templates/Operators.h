#pragma once

#include "hub/templates/Runtime.h"

#include <string_view>

/// What the operators of the language do, which filters and tests use as well.
namespace fenlo::hub::templates {

struct Operator {
    std::string_view symbol; // as it is written: "+", "not in"
    Value (*apply)(Runtime& run, const Value& left, const Value& right);
};

/// Null when there is none. "and", "or" and "not" are not among them.
const Operator* findOperator(std::string_view symbol);

/// The sign "-" or "+" before a number.
Value applySign(Runtime& run, char sign, const Value& value);

bool equal(Runtime& run, const Value& a, const Value& b);
/// Whether a comes before b. Numbers, texts, lists and tuples have an order among themselves.
bool less(Runtime& run, const Value& a, const Value& b);
bool contains(Runtime& run, const Value& container, const Value& item);

/// Whether both are the very same list, mapping or function, not an equal one, or equal simple values of one kind.
bool isSame(const Value& a, const Value& b);

/// What the operator of that symbol makes of the two.
Value operate(Runtime& run, std::string_view symbol, const Value& left, const Value& right);

/// Fails for a value that is undefined.
void requireDefined(Runtime& run, const Value& value);

/// The items of a list, the keys of a mapping, the characters of a text, nothing of an undefined value.
std::vector<Value> itemsOf(Runtime& run, const Value& value);
/// How many they are.
std::size_t lengthOf(Runtime& run, const Value& value);

/// What `value.name` is: a property of a loop, a method, or the member of that name.
Value attribute(Runtime& run, const Value& value, std::string_view name);
/// What `value[key]` is.
Value subscript(Runtime& run, const Value& value, const Value& key);
/// What `value[start:stop:step]` is; none where a part is left out.
Value slice(Runtime& run, const Value& value, const std::array<Value, 3>& bounds);

} // namespace fenlo::hub::templates
