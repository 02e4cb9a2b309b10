#pragma once

#include "hub/templates/ChatTemplate.h"
#include "hub/templates/Value.h"

#include <array>
#include <deque>
#include <span>

/// What one rendering owns: its values and the account of what it has used.
namespace fenlo::hub::templates {

/// "name:line: fault" on one line.
[[noreturn]] void failTemplate(const std::string& name, int line, std::string_view fault);

/// Errors: TemplateError, for what a limit forbids and by fail().
class Runtime {
public:
    Runtime(const std::string& name, const RenderLimits& limits, const Clock& clock)
        : m_name(name), m_limits(limits), m_clock(clock) {}
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;

    const Clock& clock() const { return m_clock; }

    /// The line that errors name.
    void at(int line) { m_line = line; }
    int line() const { return m_line; }
    [[noreturn]] void fail(std::string_view fault) const;

    void step(std::size_t count = 1);
    /// Work on so many bytes, or other small units.
    void work(std::size_t units) { step(units / 16); }
    /// So many bytes more are held by values.
    void charge(std::size_t bytes);
    /// Appends to a text under construction.
    void put(std::string& out, std::string_view piece);
    /// Appends to the rendered text.
    void write(std::string& out, std::string_view piece);

    Value text(std::string utf8);
    List* list(std::vector<Value> items, bool isTuple = false);
    Value character(const Text& text, std::size_t byte);
    Dict* dict(bool isNamespace = false);
    Scope* scope(Scope* parent);
    Loop* loop(std::vector<Value> items);
    Value callable(const Callable& callable);

    /// A tuple of two.
    Value pair(const Value& first, const Value& second) { return list({first, second}, true); }

    void append(List& list, const Value& item);
    void set(Dict& dict, const Value& key, const Value& value);
    const Value* find(const Dict& dict, const Value& key);

    /// One level deeper while it lives.
    class Level {
    public:
        explicit Level(Runtime& runtime);
        ~Level() { --m_runtime.m_depth; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

    private:
        Runtime& m_runtime;
    };

private:
    void requireKey(const Value& key);

    const std::string& m_name;
    const RenderLimits& m_limits;
    const Clock& m_clock;
    int m_line = 1;
    std::size_t m_steps = 0;
    std::size_t m_bytes = 0;
    std::size_t m_depth = 0;
    std::deque<Text> m_texts;
    std::deque<List> m_lists;
    std::deque<Dict> m_dicts;
    std::deque<Scope> m_scopes;
    std::deque<Loop> m_loops;
    std::deque<Callable> m_callables;
};

struct Arguments {
    std::vector<Value> positional;
    std::vector<std::pair<std::string_view, Value>> named;

    /// For each of the parameters what it is given, null for nothing. Fails for an argument that none takes.
    std::vector<const Value*> bind(Runtime& run, std::string_view function,
                                   std::span<const std::string_view> parameters) const;
};

/// One call of a native function. `self` is the value that a filter or test is applied to, or whose method it is.
struct Call {
    Runtime& run;
    std::string_view function;
    const Value& self;
    const Arguments& given;
    std::array<Value, 4> parameters; // undefined where not given

    const Value& operator[](std::size_t at) const { return parameters[at]; }
    /// Whether the parameter is given, and not as none.
    bool has(std::size_t at) const { return !isUndefined(parameters[at]) && !isNone(parameters[at]); }
    /// Fails unless the parameter is of the type; `fallback` where it is not given.
    std::string_view text(std::size_t at, std::string_view fallback = {}) const;
    std::int64_t integer(std::size_t at, std::int64_t fallback) const;
    bool flag(std::size_t at) const { return truth(parameters[at]); }
    /// The text that the function is applied to; other values are printed, as filters do.
    const Text& selfText() const;
    [[noreturn]] void fail(std::string_view fault) const;
    [[noreturn]] void failWants(std::string_view wanted, const Value& given) const;
};

/// What a native function is: several of these, where they do the same.
enum Role : unsigned {
    isFilter = 1,
    isTest = 2,
    isGlobal = 4,
    isTextMethod = 8,
    isListMethod = 16,
    isDictMethod = 32,
    isLoopMethod = 64
};

/// A row of the tables.
struct NativeRow {
    unsigned roles;
    std::string_view names;      // with blanks between
    std::string_view parameters; // their names, with "?" behind those that may be left out; "*": any arguments
    Value (*apply)(Call&);
};

struct Native {
    std::string_view name;
    std::vector<std::string_view> parameters;
    std::size_t required; // parameters, which are the first
    bool takesAny;
    Value (*apply)(Call&);
};

/// Null when there is none.
const Native* findNative(Role role, std::string_view name);
/// The method of such a value. Methods are those that a sandbox may offer; there is no other attribute of such values.
const Native* findMethod(const Value& value, std::string_view name);

Value applyNative(Runtime& run, const Native& native, const Value& self, const Arguments& arguments);

/// The tables.
std::span<const NativeRow> globalFunctions();
std::span<const NativeRow> listFunctions();
std::span<const NativeRow> numberFunctions();
std::span<const NativeRow> tests();
std::span<const NativeRow> textFunctions();

} // namespace fenlo::hub::templates
