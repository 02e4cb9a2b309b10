#pragma once

#include "hub/templates/Operators.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// A parsed template. Nothing changes it afterwards.
namespace fenlo::hub::templates {

struct Expression {
    enum class Kind {
        constant,
        variable,
        list,
        tuple,
        dict,       // keys and values in turn
        attribute,  // of parts[0]
        subscript,  // parts[0][parts[1]]
        slice,      // parts[0][parts[1]:parts[2]:parts[3]]
        call,       // parts[0] with the arguments that follow
        applied,    // the same of a filter or test
        operation,  // parts[0] and parts[1]
        comparison, // one, or several of which each shares an operand with its neighbour: a < b < c
        sign,
        negation,
        conjunction,
        disjunction,
        choice, // parts[1] if parts[0], otherwise parts[2]
        keyword,
        spread,
        spreadNamed // arguments: name=value, *value, **value
    };
    Kind kind = Kind::constant;
    int line = 1;
    std::size_t depth = 1; // levels of expressions, this one included
    std::vector<Expression> parts = {};
    std::string name = {}; // of a variable, attribute or keyword; the sign
    Value value = None{};
    const Native* native = nullptr; // of a filter or test
    std::vector<const Operator*> operators = {};
};

/// What is assigned to: a name, an attribute of a namespace, or several in parentheses.
struct Target {
    std::string name = {};
    const Text* attribute = nullptr;
    std::vector<Target> parts = {};
};

struct Statement;
using Body = std::vector<Statement>;

struct PlainText {
    std::string text;
};
struct Output {
    Expression expression;
};
struct If {
    std::vector<std::pair<Expression, Body>> branches;
    Body otherwise;
};
struct For {
    Target target;
    Expression items;
    std::optional<Expression> condition;
    Body body, otherwise;
};
struct Assign {
    Target target;
    Expression expression;
};
/// `set` with a body.
struct AssignBody {
    Target target;
    Body body;
};
struct Macro {
    std::string name;
    std::vector<std::string_view> parameters;         // constants of the template
    std::vector<std::optional<Expression>> fallbacks; // of each
    Body body;
};
struct Generation {
    Body body;
};
/// `break` or `continue`.
struct Jump {
    bool leavesLoop;
};

struct Statement {
    int line;
    std::variant<PlainText, Output, If, For, Assign, AssignBody, Macro, Generation, Jump> content;
};

struct Syntax {
    std::string name;
    Body body;
    std::deque<Text> constants; // which the expressions point to
};

/// Errors: TemplateError.
std::unique_ptr<const Syntax> parseTemplate(std::string_view source, const std::string& name);

} // namespace fenlo::hub::templates
