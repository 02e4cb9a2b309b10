#pragma once

#include "hub/templates/Lexer.h"
#include "hub/templates/Syntax.h"

namespace fenlo::hub::templates {

constexpr std::size_t deepestSyntax = 150; // levels of expressions, and of blocks

/// Reads the tokens of a template: its statements by functions of one each, its expressions by functions of one level
/// of precedence each, the loosest first.
///
/// Errors: TemplateError.
class Parser {
public:
    /// What expressions point to goes into the syntax.
    Parser(std::string_view source, Syntax& syntax) : m_syntax(syntax), m_tokens(readTokens(source, syntax.name)) {}

    Body read() { return body({}); }

private:
    using Kind = Expression::Kind;
    using Reader = Expression (Parser::*)();
    using Content = decltype(Statement::content);
    struct StatementType {
        std::string_view name;
        Content (Parser::*read)();
    };
    static const StatementType statementTypes[];

    /// One level of brackets or blocks deeper while it lives.
    class Level {
    public:
        explicit Level(Parser& parser);
        ~Level() { --m_parser.m_depth; }
        Level(const Level&) = delete;
        Level& operator=(const Level&) = delete;

    private:
        Parser& m_parser;
    };

    const Token& peek() const { return m_tokens[m_at]; }
    int line() const { return peek().line; }
    const Token& next();
    bool is(Token::Kind kind, std::string_view text) const { return peek().kind == kind && peek().text == text; }
    bool isSymbol(std::string_view symbol) const { return is(Token::Kind::symbol, symbol); }
    bool isName(std::string_view name) const { return is(Token::Kind::name, name); }
    bool takeSymbol(std::string_view symbol);
    bool takeName(std::string_view name);
    void expectSymbol(std::string_view symbol);
    void expectName(std::string_view name);
    std::string expectAnyName();
    void expect(Token::Kind kind);
    [[noreturn]] void fail(std::string_view fault) const;
    [[noreturn]] void failUnexpected() const { fail("unexpected " + describe()); }
    std::string describe() const; // this token, for an error
    template <typename ReadItem>
    void itemsUntil(std::string_view close, ReadItem readItem);

    Body body(const std::vector<std::string_view>& ends);
    Body blockUntil(std::string_view end);
    Body elseUntil(std::string_view end);
    Content readIf();
    Content readFor();
    Content readSet();
    Content readMacro();
    Content readGeneration();
    Content readBreak() { return jump("break", true); }
    Content readContinue() { return jump("continue", false); }
    Content jump(std::string_view name, bool leavesLoop) const;
    Target targets();
    Target target();

    Expression expression();
    Expression expressionOrTuple() { return tuple(&Parser::expression); } // without parentheses
    Expression operandOrTuple() { return tuple(&Parser::disjunction); }   // to which an `if` behind it does not belong
    Expression tuple(Reader item);
    Expression disjunction();
    Expression conjunction();
    Expression logical(std::string_view word, Kind kind, Reader operand);
    Expression negation();
    Expression comparison();
    const Operator* comparisonOperator();
    Expression binary(std::size_t level);
    Expression sign(bool withFilters);
    Expression primary();
    Expression named();
    Expression strings();
    Expression integer();
    Expression parentheses();
    Expression postfix(Expression value);
    Expression member(Expression value);
    Expression subscript(Expression value);
    Expression filtersAndTests(Expression value);
    Expression filter(Expression value);
    Expression test(Expression value);
    bool beginsTestArgument() const;
    Expression call(Kind kind, std::vector<Expression> parts);
    void arguments(std::vector<Expression>& parts);
    Expression argument();

    Expression node(Kind kind, int line, std::vector<Expression> parts, std::string name = {}) const;
    Expression constant(const Value& value, int line) const;
    const Text* text(std::string text);

    Syntax& m_syntax;
    std::vector<Token> m_tokens;
    std::size_t m_at = 0;
    std::size_t m_depth = 0;
    int m_loops = 0; // around this place
};

template <typename ReadItem>
void Parser::itemsUntil(std::string_view close, ReadItem readItem) {
    while (!takeSymbol(close)) {
        readItem();
        if (!isSymbol(close))
            expectSymbol(",");
    }
}

} // namespace fenlo::hub::templates
