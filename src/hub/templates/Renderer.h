#pragma once

#include "hub/templates/Syntax.h"

namespace fenlo::hub::templates {

/// Renders a template once.
///
/// Errors: TemplateError.
class Renderer {
public:
    Renderer(const Syntax& syntax, Runtime& run) : m_syntax(syntax), m_run(run) {}

    /// The members of the context are the variables.
    Rendering render(const Dict& context);

private:
    /// What a body does to the loop around it.
    enum class Flow { onward, leaveLoop, nextRound };

    Flow body(const Body& body, Scope& scope);
    Flow run(const PlainText& statement, Scope& scope);
    Flow run(const Output& statement, Scope& scope);
    Flow run(const If& statement, Scope& scope);
    Flow run(const For& statement, Scope& scope);
    Flow run(const Assign& statement, Scope& scope);
    Flow run(const AssignBody& statement, Scope& scope);
    Flow run(const Macro& statement, Scope& scope);
    Flow run(const Generation& statement, Scope& scope);
    Flow run(const Jump& statement, Scope& scope);

    Loop* loopOver(const For& statement, Scope& scope);
    Value capture(const Body& body, Scope& scope);
    void write(std::string_view text);
    void assign(const Target& target, const Value& value, Scope& scope);
    void setVariable(Scope& scope, std::string_view name, const Value& value);

    Value evaluate(const Expression& expression, Scope& scope);
    Value variable(const std::string& name, const Scope& scope);
    Value dict(const Expression& expression, Scope& scope);
    Value comparison(const Expression& expression, Scope& scope);
    Value call(const Expression& expression, Scope& scope);
    std::vector<Value> values(const Expression& expression, Scope& scope); // of its parts
    Arguments arguments(const Expression& expression, Scope& scope);
    void spreadNamed(const Value& value, Arguments& arguments);
    Value callValue(const Value& callee, const Arguments& arguments);
    Value callMacro(const Macro& macro, Scope& around, const Arguments& arguments);

    const Syntax& m_syntax;
    Runtime& m_run;
    Rendering m_result;
    std::string* m_out = &m_result.text; // or the text of a macro or a block that is a value
};

} // namespace fenlo::hub::templates
