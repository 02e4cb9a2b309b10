#include "hub/templates/Renderer.h"

#include "base/Json.h"
#include "hub/templates/ValueText.h"

#include <algorithm>
#include <utility>

namespace fenlo::hub::templates {

namespace {

constexpr std::size_t variableSize = 64; // bytes, about what one takes in a scope

/// A macro sees the variables around it later on, so a loop may not clear them for its next round.
void keepScope(Scope& scope) {
    for (Scope* it = &scope; it && !it->isCaptured; it = it->parent)
        it->isCaptured = true;
}

} // namespace

Rendering Renderer::render(const Dict& context) {
    Scope* scope = m_run.scope(nullptr);
    for (const auto& [name, value] : context.entries)
        setVariable(*scope, asText(name)->utf8, value);
    body(m_syntax.body, *m_run.scope(scope));
    return std::move(m_result);
}

Renderer::Flow Renderer::body(const Body& body, Scope& scope) {
    const Runtime::Level level(m_run);
    for (const Statement& statement : body) {
        m_run.at(statement.line);
        m_run.step();
        const Flow flow = std::visit([&](const auto& content) { return run(content, scope); }, statement.content);
        if (flow != Flow::onward)
            return flow;
    }
    return Flow::onward;
}

void Renderer::write(std::string_view text) {
    m_run.work(text.size());
    if (m_out == &m_result.text)
        m_run.write(*m_out, text);
    else
        m_run.put(*m_out, text);
}

Value Renderer::capture(const Body& statements, Scope& scope) {
    std::string text;
    std::string* outside = std::exchange(m_out, &text);
    body(statements, scope);
    m_out = outside;
    return m_run.text(std::move(text));
}

void Renderer::setVariable(Scope& scope, std::string_view name, const Value& value) {
    scope.variables.insert_or_assign(name, value);
    if (scope.variables.size() > scope.mostVariables) {
        scope.mostVariables = scope.variables.size();
        m_run.charge(variableSize);
    }
}

void Renderer::assign(const Target& target, const Value& value, Scope& scope) {
    if (target.attribute) {
        Dict* dict = asDict(variable(target.name, scope));
        if (!dict || !dict->isNamespace)
            m_run.fail("cannot set an attribute of " + inQuotes(target.name) + ", which is no namespace");
        m_run.set(*dict, target.attribute, value);
    } else if (target.parts.empty()) {
        setVariable(scope, target.name, value);
    } else {
        const std::vector<Value> items = itemsOf(m_run, value);
        if (items.size() != target.parts.size())
            m_run.fail("cannot unpack " + std::to_string(items.size()) + " values into " +
                       std::to_string(target.parts.size()));
        for (std::size_t i = 0; i < items.size(); ++i)
            assign(target.parts[i], items[i], scope);
    }
}

Renderer::Flow Renderer::run(const PlainText& statement, Scope&) {
    write(statement.text);
    return Flow::onward;
}

Renderer::Flow Renderer::run(const Output& statement, Scope& scope) {
    const Value value = evaluate(statement.expression, scope);
    if (const Text* text = asText(value)) {
        write(text->utf8);
    } else {
        std::string printed;
        print(m_run, value, printed);
        write(printed);
    }
    return Flow::onward;
}

Renderer::Flow Renderer::run(const If& statement, Scope& scope) {
    for (const auto& [condition, statements] : statement.branches)
        if (truth(evaluate(condition, scope)))
            return body(statements, scope);
    return body(statement.otherwise, scope);
}

Loop* Renderer::loopOver(const For& statement, Scope& scope) {
    Loop* loop = m_run.loop(itemsOf(m_run, evaluate(statement.items, scope)));
    if (statement.condition) {
        Scope* seen = m_run.scope(&scope); // by the condition: the target, and no loop
        loop->passes = [this, &statement, seen](const Value& item) {
            assign(statement.target, item, *seen);
            return truth(evaluate(*statement.condition, *seen));
        };
    }
    return loop;
}

Renderer::Flow Renderer::run(const For& statement, Scope& outer) {
    Loop* loop = loopOver(statement, outer);
    Scope* scope = m_run.scope(&outer);
    if (!loop->reaches(0))
        return body(statement.otherwise, *scope);
    for (; loop->reaches(loop->index); ++loop->index) {
        if (scope->isCaptured)
            scope = m_run.scope(&outer);
        scope->variables.clear();
        setVariable(*scope, "loop", loop);
        assign(statement.target, loop->items[loop->index], *scope);
        if (body(statement.body, *scope) == Flow::leaveLoop)
            break;
    }
    return Flow::onward;
}

Renderer::Flow Renderer::run(const Assign& statement, Scope& scope) {
    const Value value = evaluate(statement.expression, scope);
    m_run.at(statement.expression.line);
    assign(statement.target, value, scope);
    return Flow::onward;
}

Renderer::Flow Renderer::run(const AssignBody& statement, Scope& scope) {
    assign(statement.target, capture(statement.body, *m_run.scope(&scope)), scope);
    return Flow::onward;
}

Renderer::Flow Renderer::run(const Macro& statement, Scope& scope) {
    keepScope(scope);
    setVariable(scope, statement.name, m_run.callable({.macro = &statement, .scope = &scope}));
    return Flow::onward;
}

Renderer::Flow Renderer::run(const Generation& statement, Scope& scope) {
    const std::size_t begin = m_out->size();
    body(statement.body, *m_run.scope(&scope));
    if (m_out == &m_result.text)
        m_result.generated.push_back({begin, m_out->size()});
    return Flow::onward;
}

Renderer::Flow Renderer::run(const Jump& statement, Scope&) {
    return statement.leavesLoop ? Flow::leaveLoop : Flow::nextRound;
}

Value Renderer::callValue(const Value& callee, const Arguments& given) {
    const Runtime::Level level(m_run);
    requireDefined(m_run, callee);
    Callable* const* callable = std::get_if<Callable*>(&callee);
    if (!callable)
        m_run.fail(std::string(kindName(callee)) + " cannot be called");
    const auto& [macro, scope, native, self] = **callable;
    return macro ? callMacro(*macro, *scope, given) : applyNative(m_run, *native, self, given);
}

Value Renderer::callMacro(const Macro& macro, Scope& around, const Arguments& given) {
    const int line = m_run.line();
    Scope* scope = m_run.scope(&around);
    const std::vector<const Value*> bound = given.bind(m_run, "macro " + macro.name, macro.parameters);
    for (std::size_t i = 0; i < bound.size(); ++i) {
        const std::string_view name = macro.parameters[i];
        setVariable(*scope, name,
                    bound[i]             ? *bound[i]
                    : macro.fallbacks[i] ? evaluate(*macro.fallbacks[i], *scope)
                                         : Undefined{name});
    }
    const Value text = capture(macro.body, *scope);
    m_run.at(line);
    return text;
}

Value Renderer::evaluate(const Expression& expression, Scope& scope) {
    using Kind = Expression::Kind;
    const Runtime::Level level(m_run);
    m_run.step();
    const auto part = [&](std::size_t at) {
        const Value value = evaluate(expression.parts[at], scope);
        m_run.at(expression.line);
        return value;
    };
    switch (expression.kind) {
    case Kind::constant:
        return expression.value;
    case Kind::variable:
        return variable(expression.name, scope);
    case Kind::list:
    case Kind::tuple:
        return m_run.list(values(expression, scope), expression.kind == Kind::tuple);
    case Kind::dict:
        return dict(expression, scope);
    case Kind::attribute:
        return attribute(m_run, part(0), expression.name);
    case Kind::sign:
        return applySign(m_run, expression.name.front(), part(0));
    case Kind::negation:
        return !truth(part(0));
    case Kind::choice:
        return part(truth(part(0)) ? 1 : 2);
    case Kind::conjunction:
    case Kind::disjunction: {
        const Value left = part(0);
        return truth(left) == (expression.kind == Kind::disjunction) ? left : part(1);
    }
    case Kind::subscript: {
        const Value value = part(0);
        return subscript(m_run, value, part(1));
    }
    case Kind::slice: {
        const std::vector<Value> parts = values(expression, scope);
        return slice(m_run, parts[0], {parts[1], parts[2], parts[3]});
    }
    case Kind::operation: {
        const Value left = part(0);
        return expression.operators[0]->apply(m_run, left, part(1));
    }
    case Kind::comparison:
        return comparison(expression, scope);
    case Kind::applied: {
        const Value input = part(0);
        return applyNative(m_run, *expression.native, input, arguments(expression, scope));
    }
    default:
        return call(expression, scope);
    }
}

Value Renderer::variable(const std::string& name, const Scope& scope) {
    for (const Scope* it = &scope; it; it = it->parent)
        if (const auto found = it->variables.find(name); found != it->variables.end())
            return found->second;
    const Native* function = findNative(isGlobal, name);
    return function ? m_run.callable({.native = function}) : Value(Undefined{name});
}

std::vector<Value> Renderer::values(const Expression& expression, Scope& scope) {
    std::vector<Value> list;
    list.reserve(expression.parts.size());
    for (const Expression& part : expression.parts)
        list.push_back(evaluate(part, scope));
    m_run.at(expression.line);
    return list;
}

Value Renderer::dict(const Expression& expression, Scope& scope) {
    const std::vector<Value> parts = values(expression, scope);
    Dict* dict = m_run.dict();
    for (std::size_t i = 0; i < parts.size(); i += 2)
        m_run.set(*dict, parts[i], parts[i + 1]);
    return dict;
}

Value Renderer::comparison(const Expression& expression, Scope& scope) {
    Value left = evaluate(expression.parts[0], scope);
    for (std::size_t i = 0; i < expression.operators.size(); ++i) {
        const Value right = evaluate(expression.parts[i + 1], scope);
        m_run.at(expression.line);
        if (!truth(expression.operators[i]->apply(m_run, left, right)))
            return false;
        left = right;
    }
    return true;
}

Value Renderer::call(const Expression& expression, Scope& scope) {
    const Expression& callee = expression.parts.front();
    if (callee.kind != Expression::Kind::attribute) {
        const Value function = evaluate(callee, scope);
        return callValue(function, arguments(expression, scope));
    }
    const Value value = evaluate(callee.parts.front(), scope);
    m_run.at(callee.line);
    const Native* method = findMethod(value, callee.name); // called without a value of its own
    const Value function = method ? Value() : attribute(m_run, value, callee.name);
    if (!method && isUndefined(function))
        m_run.fail(std::string(kindName(value)) + " has no method " + inQuotes(callee.name));
    const Arguments given = arguments(expression, scope);
    return method ? applyNative(m_run, *method, value, given) : callValue(function, given);
}

Arguments Renderer::arguments(const Expression& expression, Scope& scope) {
    using Kind = Expression::Kind;
    Arguments given;
    for (std::size_t i = 1; i < expression.parts.size(); ++i) {
        const Expression& part = expression.parts[i];
        const bool isPlain = part.kind != Kind::keyword && part.kind != Kind::spread && part.kind != Kind::spreadNamed;
        const Value value = evaluate(isPlain ? part : part.parts.front(), scope);
        m_run.at(expression.line);
        if (isPlain)
            given.positional.push_back(value);
        else if (part.kind == Kind::keyword)
            given.named.emplace_back(part.name, value);
        else if (part.kind == Kind::spreadNamed)
            spreadNamed(value, given);
        else
            std::ranges::copy(itemsOf(m_run, value), std::back_inserter(given.positional));
    }
    m_run.at(expression.line);
    return given;
}

void Renderer::spreadNamed(const Value& value, Arguments& arguments) {
    const Dict* dict = asDict(value);
    if (!dict)
        m_run.fail(std::string(kindName(value)) + " does not hold named arguments");
    m_run.charge(dict->entries.size() * sizeof(Dict::Entry));
    for (const auto& [key, item] : dict->entries) {
        if (!asText(key))
            m_run.fail(std::string(kindName(key)) + " cannot be the name of an argument");
        arguments.named.emplace_back(asText(key)->utf8, item);
    }
}

} // namespace fenlo::hub::templates
