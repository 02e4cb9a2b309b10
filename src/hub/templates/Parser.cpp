#include "hub/templates/Parser.h"

#include "base/Json.h"

#include <algorithm>
#include <utility>

/// Tokens and statements.
namespace fenlo::hub::templates {

const Token& Parser::next() {
    const Token& token = peek();
    m_at += token.kind == Token::Kind::end ? 0 : 1;
    return token;
}

bool Parser::takeSymbol(std::string_view symbol) {
    const bool isIt = isSymbol(symbol);
    m_at += isIt ? 1 : 0;
    return isIt;
}

bool Parser::takeName(std::string_view name) {
    const bool isIt = isName(name);
    m_at += isIt ? 1 : 0;
    return isIt;
}

void Parser::expectSymbol(std::string_view symbol) {
    if (!takeSymbol(symbol))
        fail("expected \"" + std::string(symbol) + "\" before " + describe());
}

void Parser::expectName(std::string_view name) {
    if (!takeName(name))
        fail("expected \"" + std::string(name) + "\" before " + describe());
}

std::string Parser::expectAnyName() {
    if (peek().kind != Token::Kind::name)
        fail("expected a name before " + describe());
    return next().text;
}

void Parser::expect(Token::Kind kind) {
    if (peek().kind != kind)
        failUnexpected();
    next();
}

std::string Parser::describe() const {
    return peek().kind == Token::Kind::end    ? "the end of the template"
           : peek().kind == Token::Kind::text ? "text"
                                              : inQuotes(peek().text);
}

void Parser::fail(std::string_view fault) const {
    failTemplate(m_syntax.name, line(), fault);
}

Parser::Level::Level(Parser& parser) : m_parser(parser) {
    if (parser.m_depth == deepestSyntax)
        parser.fail("is nested too deeply");
    ++parser.m_depth;
}

const Parser::StatementType Parser::statementTypes[] = {
    {"break", &Parser::readBreak}, {"continue", &Parser::readContinue},
    {"for", &Parser::readFor},     {"generation", &Parser::readGeneration},
    {"if", &Parser::readIf},       {"macro", &Parser::readMacro},
    {"set", &Parser::readSet},
};

/// Up to a tag that begins with one of the names, which is left at that name.
Body Parser::body(const std::vector<std::string_view>& ends) {
    const Level level(*this);
    Body statements;
    while (peek().kind != Token::Kind::end) {
        const int line = this->line();
        if (peek().kind == Token::Kind::text) {
            statements.push_back({line, PlainText{next().text}});
        } else if (peek().kind == Token::Kind::beginOutput) {
            next();
            statements.push_back({line, Output{expressionOrTuple()}});
            expect(Token::Kind::endOutput);
        } else {
            expect(Token::Kind::beginStatement);
            if (std::ranges::any_of(ends, [this](std::string_view name) { return isName(name); }))
                return statements;
            const std::string name = expectAnyName();
            const auto* type = std::ranges::find(statementTypes, name, &StatementType::name);
            if (type == std::end(statementTypes))
                fail("unknown statement " + inQuotes(name));
            statements.push_back({line, (this->*type->read)()});
            expect(Token::Kind::endStatement);
        }
    }
    if (!ends.empty())
        fail("\"" + std::string(ends.back()) + "\" is missing");
    return statements;
}

/// A body that stands for itself, so that `break` does not leave it, with its end tag.
Body Parser::blockUntil(std::string_view end) {
    expect(Token::Kind::endStatement);
    const int loops = std::exchange(m_loops, 0);
    Body statements = body({end});
    m_loops = loops;
    expectName(end);
    return statements;
}

/// The rest of an `if` or `for`: what stands behind `else`, if anything, and the end tag.
Body Parser::elseUntil(std::string_view end) {
    Body statements;
    if (takeName("else")) {
        expect(Token::Kind::endStatement);
        statements = body({end});
    }
    expectName(end);
    return statements;
}

Parser::Content Parser::readIf() {
    If statement;
    do {
        Expression condition = expressionOrTuple();
        expect(Token::Kind::endStatement);
        statement.branches.emplace_back(std::move(condition), body({"elif", "else", "endif"}));
    } while (takeName("elif"));
    statement.otherwise = elseUntil("endif");
    return statement;
}

Parser::Content Parser::readFor() {
    For statement;
    statement.target = targets();
    expectName("in");
    statement.items = operandOrTuple();
    if (takeName("if"))
        statement.condition = expression();
    expect(Token::Kind::endStatement);
    ++m_loops;
    statement.body = body({"else", "endfor"});
    --m_loops;
    statement.otherwise = elseUntil("endfor");
    return statement;
}

Parser::Content Parser::readSet() {
    Target target = targets();
    if (takeSymbol("="))
        return Assign{std::move(target), expressionOrTuple()};
    return AssignBody{std::move(target), blockUntil("endset")};
}

Target Parser::targets() {
    const Level level(*this);
    Target first = target();
    if (!isSymbol(","))
        return first;
    Target several;
    several.parts.push_back(std::move(first));
    while (takeSymbol(","))
        if (peek().kind == Token::Kind::name || isSymbol("("))
            several.parts.push_back(target());
    return several;
}

Target Parser::target() {
    if (takeSymbol("(")) {
        Target inner = targets();
        expectSymbol(")");
        return inner;
    }
    Target single{expectAnyName()};
    if (takeSymbol("."))
        single.attribute = text(expectAnyName());
    return single;
}

Parser::Content Parser::readMacro() {
    Macro macro;
    macro.name = expectAnyName();
    expectSymbol("(");
    itemsUntil(")", [&] {
        macro.parameters.push_back(text(expectAnyName())->utf8);
        const bool followsFallback = !macro.fallbacks.empty() && macro.fallbacks.back();
        macro.fallbacks.push_back(takeSymbol("=") ? std::optional(expression()) : std::nullopt);
        if (followsFallback && !macro.fallbacks.back())
            fail("a parameter without a value stands behind one with a value");
    });
    macro.body = blockUntil("endmacro");
    return macro;
}

Parser::Content Parser::readGeneration() {
    return Generation{blockUntil("endgeneration")};
}

Parser::Content Parser::jump(std::string_view name, bool leavesLoop) const {
    if (m_loops == 0)
        fail("\"" + std::string(name) + "\" stands outside of a loop");
    return Jump{leavesLoop};
}

std::unique_ptr<const Syntax> parseTemplate(std::string_view source, const std::string& name) {
    auto syntax = std::make_unique<Syntax>();
    syntax->name = name;
    syntax->body = Parser(source, *syntax).read();
    return syntax;
}

} // namespace fenlo::hub::templates
