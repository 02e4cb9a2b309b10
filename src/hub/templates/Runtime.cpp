#include "hub/templates/Runtime.h"

#include "base/Json.h"
#include "hub/templates/ValueText.h"

#include <algorithm>

namespace fenlo::hub::templates {

namespace {

constexpr std::size_t mapEntry = 64; // bytes, about what a node of a map takes

} // namespace

void failTemplate(const std::string& name, int line, std::string_view fault) {
    std::string message = name + ":" + std::to_string(line) + ": " + std::string(fault);
    std::ranges::replace_if(
        message, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, ' ');
    throw TemplateError(message);
}

void Runtime::fail(std::string_view fault) const {
    failTemplate(m_name, m_line, fault);
}

void Runtime::step(std::size_t count) {
    m_steps += std::min(count, m_limits.steps + 1);
    if (m_steps > m_limits.steps)
        fail("takes more than " + std::to_string(m_limits.steps) + " steps");
}

void Runtime::charge(std::size_t bytes) {
    m_bytes += std::min(bytes, m_limits.memoryBytes + 1);
    if (m_bytes > m_limits.memoryBytes)
        fail("needs more than " + std::to_string(m_limits.memoryBytes) + " bytes of memory");
}

void Runtime::put(std::string& out, std::string_view piece) {
    charge(piece.size());
    out += piece;
}

void Runtime::write(std::string& out, std::string_view piece) {
    if (piece.size() > m_limits.outputBytes || out.size() > m_limits.outputBytes - piece.size())
        fail("writes more than " + std::to_string(m_limits.outputBytes) + " bytes");
    out += piece;
}

Value Runtime::text(std::string utf8) {
    work(utf8.size());
    charge(sizeof(Text) + utf8.size());
    const std::size_t length = countCodePoints(utf8);
    return &m_texts.emplace_back(Text{std::move(utf8), length});
}

List* Runtime::list(std::vector<Value> items, bool isTuple) {
    step();
    work(items.size() * sizeof(Value));
    charge(sizeof(List) + items.size() * sizeof(Value));
    return &m_lists.emplace_back(List{std::move(items), isTuple});
}

Value Runtime::character(const Text& text, std::size_t byte) {
    std::size_t end = byte + 1;
    while (end < text.utf8.size() && (static_cast<unsigned char>(text.utf8[end]) & 0xC0U) == 0x80)
        ++end;
    return this->text(text.utf8.substr(byte, end - byte));
}

Dict* Runtime::dict(bool isNamespace) {
    step();
    charge(sizeof(Dict));
    Dict* dict = &m_dicts.emplace_back();
    dict->isNamespace = isNamespace;
    return dict;
}

Scope* Runtime::scope(Scope* parent) {
    charge(sizeof(Scope));
    return &m_scopes.emplace_back(Scope{parent});
}

Loop* Runtime::loop(std::vector<Value> items) {
    charge(sizeof(Loop));
    Loop* loop = &m_loops.emplace_back();
    loop->items = std::move(items);
    return loop;
}

Value Runtime::callable(const Callable& callable) {
    charge(sizeof(Callable));
    return &m_callables.emplace_back(callable);
}

void Runtime::append(List& list, const Value& item) {
    charge(sizeof(Value));
    list.items.push_back(item);
}

void Runtime::requireKey(const Value& key) {
    if (const Text* text = asText(key))
        work(text->utf8.size());
    else if (!isNone(key) && !isNumber(key))
        fail(std::string(kindName(key)) + " cannot be a key");
}

void Runtime::set(Dict& dict, const Value& key, const Value& value) {
    requireKey(key);
    step();
    charge(sizeof(Dict::Entry) + mapEntry);
    dict.set(key, value);
}

const Value* Runtime::find(const Dict& dict, const Value& key) {
    if (isUndefined(key))
        return nullptr;
    requireKey(key);
    return dict.find(key);
}

Runtime::Level::Level(Runtime& runtime) : m_runtime(runtime) {
    if (runtime.m_depth == runtime.m_limits.depth)
        runtime.fail("is nested too deeply");
    ++runtime.m_depth;
}

} // namespace fenlo::hub::templates
