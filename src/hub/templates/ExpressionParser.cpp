#include "base/Json.h"
#include "hub/templates/Parser.h"

#include <algorithm>
#include <array>
#include <limits>

/// Expressions.
namespace fenlo::hub::templates {

namespace {

using Words = std::initializer_list<std::string_view>;

struct NamedConstant {
    std::string_view name;
    Value value;
};
const NamedConstant namedConstants[] = {{"true", true},   {"True", true},   {"false", false},
                                        {"False", false}, {"none", None{}}, {"None", None{}}};

/// Binary operators, the loosest first; all group to the left.
constexpr std::array<std::array<std::string_view, 4>, 4> levels{{{"+", "-"}, {"~"}, {"*", "/", "//", "%"}, {"**"}}};

constexpr std::uint64_t mostNegative = std::uint64_t{1} << 63; // as a literal it needs its sign

bool isAmong(std::string_view name, Words words) {
    return std::ranges::find(words, name) != words.end();
}

/// The parts of an expression, which are moved.
template <typename... Parts>
std::vector<Expression> gather(Parts&&... given) {
    std::vector<Expression> list;
    list.reserve(sizeof...(given));
    (list.push_back(std::forward<Parts>(given)), ...);
    return list;
}

} // namespace

Expression Parser::node(Kind kind, int line, std::vector<Expression> parts, std::string name) const {
    Expression expression{.kind = kind, .line = line, .parts = std::move(parts), .name = std::move(name)};
    for (const Expression& part : expression.parts)
        expression.depth = std::max(expression.depth, part.depth + 1);
    if (expression.depth > deepestSyntax)
        fail("is nested too deeply");
    return expression;
}

Expression Parser::constant(const Value& value, int line) const {
    Expression expression = node(Kind::constant, line, {});
    expression.value = value;
    return expression;
}

const Text* Parser::text(std::string text) {
    const std::size_t length = countCodePoints(text);
    return &m_syntax.constants.emplace_back(Text{std::move(text), length});
}

Expression Parser::expression() {
    const Level level(*this);
    Expression value = disjunction();
    while (isName("if")) {
        const int line = next().line;
        Expression condition = disjunction();
        Expression otherwise = takeName("else") ? expression() : constant(Undefined{}, line);
        value = node(Kind::choice, line, gather(std::move(condition), std::move(value), std::move(otherwise)));
    }
    return value;
}

Expression Parser::tuple(Reader item) {
    const int line = this->line();
    Expression first = (this->*item)();
    if (!isSymbol(","))
        return first;
    std::vector<Expression> items = gather(std::move(first));
    while (takeSymbol(",")) {
        if (isSymbol(")") || isSymbol("=") || peek().kind == Token::Kind::endOutput ||
            peek().kind == Token::Kind::endStatement)
            break;
        items.push_back((this->*item)());
    }
    return node(Kind::tuple, line, std::move(items));
}

Expression Parser::disjunction() {
    return logical("or", Kind::disjunction, &Parser::conjunction);
}

Expression Parser::conjunction() {
    return logical("and", Kind::conjunction, &Parser::negation);
}

Expression Parser::logical(std::string_view word, Kind kind, Reader operand) {
    Expression left = (this->*operand)();
    while (isName(word)) {
        const int line = next().line;
        left = node(kind, line, gather(std::move(left), (this->*operand)()));
    }
    return left;
}

Expression Parser::negation() {
    if (!isName("not"))
        return comparison();
    const Level level(*this);
    const int line = next().line;
    return node(Kind::negation, line, gather(negation()));
}

const Operator* Parser::comparisonOperator() {
    if (takeName("in"))
        return findOperator("in");
    if (takeName("not")) {
        expectName("in");
        return findOperator("not in");
    }
    const bool isOne = peek().kind == Token::Kind::symbol && isAmong(peek().text, {"==", "!=", "<", ">", "<=", ">="});
    return isOne ? findOperator(next().text) : nullptr;
}

Expression Parser::comparison() {
    const int line = this->line();
    std::vector<Expression> parts = gather(binary(0));
    std::vector<const Operator*> operators;
    while (const Operator* found = comparisonOperator()) {
        operators.push_back(found);
        parts.push_back(binary(0));
    }
    if (operators.empty())
        return std::move(parts.front());
    Expression comparison = node(Kind::comparison, line, std::move(parts));
    comparison.operators = std::move(operators);
    return comparison;
}

Expression Parser::binary(std::size_t level) {
    if (level == levels.size())
        return sign(true);
    const int line = this->line();
    Expression left = binary(level + 1);
    while (peek().kind == Token::Kind::symbol && std::ranges::count(levels[level], peek().text) > 0) {
        const Operator* found = findOperator(next().text);
        left = node(Kind::operation, line, gather(std::move(left), binary(level + 1)));
        left.operators = {found};
    }
    return left;
}

/// A filter or test belongs to the number with its sign.
Expression Parser::sign(bool withFilters) {
    const Level level(*this);
    const int line = this->line();
    Expression value;
    if (isSymbol("-") || isSymbol("+")) {
        const std::string symbol = next().text;
        if (symbol == "-" && peek().kind == Token::Kind::integer && peek().integer == mostNegative)
            next(), value = constant(std::numeric_limits<std::int64_t>::min(), line);
        else
            value = node(Kind::sign, line, gather(sign(false)), symbol);
    } else {
        value = primary();
    }
    value = postfix(std::move(value));
    return withFilters ? filtersAndTests(std::move(value)) : std::move(value);
}

Expression Parser::primary() {
    const int line = this->line();
    switch (peek().kind) {
    case Token::Kind::name:
        return named();
    case Token::Kind::string:
        return strings();
    case Token::Kind::integer:
        return integer();
    case Token::Kind::floating:
        return constant(next().number, line);
    default:
        break;
    }
    if (isSymbol("("))
        return parentheses();
    std::vector<Expression> parts;
    if (takeSymbol("[")) {
        itemsUntil("]", [&] { parts.push_back(expression()); });
        return node(Kind::list, line, std::move(parts));
    }
    if (!takeSymbol("{"))
        failUnexpected();
    itemsUntil("}", [&] {
        parts.push_back(expression());
        expectSymbol(":");
        parts.push_back(expression());
    });
    return node(Kind::dict, line, std::move(parts));
}

Expression Parser::named() {
    const std::string& name = peek().text;
    const auto* known = std::ranges::find(namedConstants, name, &NamedConstant::name);
    if (known != std::end(namedConstants))
        return constant(known->value, next().line);
    if (isAmong(name, {"and", "or", "not", "in", "is", "if", "else"}))
        failUnexpected();
    return node(Kind::variable, next().line, {}, name);
}

Expression Parser::strings() {
    const int line = this->line();
    std::string joined;
    while (peek().kind == Token::Kind::string)
        joined += next().text;
    return constant(text(std::move(joined)), line);
}

Expression Parser::integer() {
    if (peek().integer >= mostNegative)
        fail("the number " + inQuotes(peek().text) + " is out of range");
    const Token& token = next();
    return constant(static_cast<std::int64_t>(token.integer), token.line);
}

Expression Parser::parentheses() {
    const int line = next().line;
    if (takeSymbol(")"))
        return node(Kind::tuple, line, {});
    Expression inner = expressionOrTuple();
    expectSymbol(")");
    return inner;
}

Expression Parser::postfix(Expression value) {
    while (true)
        if (isSymbol("."))
            value = member(std::move(value));
        else if (isSymbol("["))
            value = subscript(std::move(value));
        else if (isSymbol("("))
            value = call(Kind::call, gather(std::move(value)));
        else
            return value;
}

Expression Parser::member(Expression value) {
    const int line = next().line;
    if (peek().kind == Token::Kind::integer)
        return node(Kind::subscript, line, gather(std::move(value), integer()));
    return node(Kind::attribute, line, gather(std::move(value)), expectAnyName());
}

Expression Parser::subscript(Expression value) {
    const int line = next().line;
    std::vector<Expression> parts = gather(std::move(value));
    std::size_t colons = 0;
    const auto bound = [&] {
        const bool isMissing = isSymbol(":") || isSymbol("]");
        parts.push_back(isMissing ? constant(None{}, line) : colons == 0 ? expressionOrTuple() : expression());
    };
    if (isSymbol("]"))
        failUnexpected();
    bound();
    while (colons < 2 && takeSymbol(":")) {
        ++colons;
        bound();
    }
    expectSymbol("]");
    if (colons == 1)
        parts.push_back(constant(None{}, line));
    return node(colons > 0 ? Kind::slice : Kind::subscript, line, std::move(parts));
}

/// The parts with the arguments that stand here.
Expression Parser::call(Kind kind, std::vector<Expression> parts) {
    const int line = this->line();
    arguments(parts);
    return node(kind, line, std::move(parts));
}

void Parser::arguments(std::vector<Expression>& parts) {
    expectSymbol("(");
    bool isNamed = false;
    itemsUntil(")", [&] {
        Expression next = argument();
        const bool nextIsNamed = next.kind == Kind::keyword || next.kind == Kind::spreadNamed;
        if (isNamed && !nextIsNamed && next.kind != Kind::spread)
            fail("an argument without a name stands behind one with a name");
        isNamed |= nextIsNamed;
        parts.push_back(std::move(next));
    });
}

Expression Parser::argument() {
    const int line = this->line();
    if (takeSymbol("**"))
        return node(Kind::spreadNamed, line, gather(expression()));
    if (takeSymbol("*"))
        return node(Kind::spread, line, gather(expression()));
    const bool isNamed = peek().kind == Token::Kind::name && m_tokens[m_at + 1].kind == Token::Kind::symbol &&
                         m_tokens[m_at + 1].text == "=";
    if (!isNamed)
        return expression();
    const std::string name = next().text;
    next();
    return node(Kind::keyword, line, gather(expression()), name);
}

Expression Parser::filtersAndTests(Expression value) {
    while (true)
        if (takeSymbol("|"))
            value = filter(std::move(value));
        else if (takeName("is"))
            value = test(std::move(value));
        else if (isSymbol("("))
            value = call(Kind::call, gather(std::move(value)));
        else
            return value;
}

Expression Parser::filter(Expression value) {
    const int line = this->line();
    const std::string name = expectAnyName();
    const Native* native = findNative(isFilter, name);
    if (!native)
        fail("there is no filter " + inQuotes(name));
    std::vector<Expression> parts = gather(std::move(value));
    if (isSymbol("("))
        arguments(parts);
    Expression filter = node(Kind::applied, line, std::move(parts));
    filter.native = native;
    return filter;
}

bool Parser::beginsTestArgument() const {
    const Token::Kind kind = peek().kind;
    if (kind == Token::Kind::name)
        return !isAmong(peek().text, {"else", "or", "and", "if", "in", "is", "not"});
    return kind == Token::Kind::string || kind == Token::Kind::integer || kind == Token::Kind::floating ||
           isSymbol("[") || isSymbol("{");
}

Expression Parser::test(Expression value) {
    const int line = this->line();
    const bool isNegated = takeName("not");
    const std::string name = expectAnyName();
    const Native* native = findNative(isTest, name);
    if (!native)
        fail("there is no test " + inQuotes(name));
    std::vector<Expression> parts = gather(std::move(value));
    if (isSymbol("("))
        arguments(parts);
    else if (beginsTestArgument())
        parts.push_back(postfix(primary()));
    Expression test = node(Kind::applied, line, std::move(parts));
    test.native = native;
    return isNegated ? node(Kind::negation, line, gather(std::move(test))) : std::move(test);
}

} // namespace fenlo::hub::templates
