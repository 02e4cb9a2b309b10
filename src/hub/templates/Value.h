#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

/// The values of the template language. They belong to one rendering's heap, which frees them together at its end, so
/// that values may hold each other in a circle or nest without bound, and a Value is two words to copy.
namespace fenlo::hub::templates {

/// Valid UTF-8, and its number of code points, by which the language counts, indexes and slices.
struct Text {
    std::string utf8;
    std::size_t length;

    bool isAscii() const { return length == utf8.size(); }
    /// The byte at which the code point begins.
    std::size_t byteOf(std::size_t codePoint) const;
};

struct Callable;
struct Dict;
struct List;
struct Loop;

struct Undefined {
    std::string_view name; // the variable or attribute that was looked for
};
struct None {};

using Value = std::variant<Undefined, None, bool, std::int64_t, double, const Text*, List*, Dict*, Loop*, Callable*>;

struct List {
    std::vector<Value> items;
    bool isTuple = false;
};

/// The order of keys in the index: any, but the same for keys that are equal.
struct KeyOrder {
    bool operator()(const Value& a, const Value& b) const;
};

/// Entries in the order of their insertion. Keys are none, numbers and texts; 1, 1.0 and true are one key.
struct Dict {
    using Entry = std::pair<Value, Value>;
    std::vector<Entry> entries;
    bool isNamespace = false;

    /// Null when there is none.
    const Value* find(const Value& key) const;
    const Value* find(std::string_view key) const;
    void set(const Value& key, const Value& value);
    void erase(const Value& key);

private:
    std::size_t place(const Value& key) const;
    void makeIndex();
    std::map<Value, std::size_t, KeyOrder> m_index; // of large ones
};

/// The variables of a block; those of the blocks around it are seen through it.
struct Scope {
    Scope* parent = nullptr;
    std::unordered_map<std::string_view, Value> variables = {};
    std::size_t mostVariables = 0; // so far; a loop clears them for its next round
    bool isCaptured = false;       // by a macro, which may outlive the block
};

struct Macro;
struct Native;

/// A macro with the scope that it stands in, or a native function, bound to a value where it is a method.
struct Callable {
    const Macro* macro = nullptr;
    Scope* scope = nullptr;
    const Native* native = nullptr;
    Value self = {};
};

/// A `for` at work. Its condition, where it has one, looks at an item when the loop gets there, or when a property of
/// the loop asks what is to come.
struct Loop {
    std::vector<Value> items;
    std::function<bool(const Value&)> passes;
    std::size_t index = 0;
    std::size_t kept = 0, seen = 0; // items in front that pass, and those looked at

    /// Whether there is an item at that place.
    bool reaches(std::size_t place);
};

inline const Text* asText(const Value& value) {
    const Text* const* text = std::get_if<const Text*>(&value);
    return text ? *text : nullptr;
}
inline List* asList(const Value& value) {
    List* const* list = std::get_if<List*>(&value);
    return list ? *list : nullptr;
}
inline Dict* asDict(const Value& value) {
    Dict* const* dict = std::get_if<Dict*>(&value);
    return dict ? *dict : nullptr;
}
inline bool isUndefined(const Value& value) {
    return std::holds_alternative<Undefined>(value);
}
inline bool isNone(const Value& value) {
    return std::holds_alternative<None>(value);
}
inline bool isFloat(const Value& value) {
    return std::holds_alternative<double>(value);
}

/// Empty collections and texts, zero, none and undefined values are false.
bool truth(const Value& value);
/// Numbers as the language sees them: true is 1.
bool isNumber(const Value& value);
double toDouble(const Value& number);
/// Of a number that is no float.
std::int64_t toInteger(const Value& number);
/// Below, equal or above 0. An integer and a float are compared exactly; an undefined order gives 2.
int compareNumbers(const Value& a, const Value& b);

/// What error texts call a value of this kind: "a string".
std::string_view kindName(const Value& value);

std::size_t countCodePoints(std::string_view utf8);

} // namespace fenlo::hub::templates
