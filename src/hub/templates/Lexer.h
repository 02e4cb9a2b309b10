#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub::templates {

struct Token {
    enum class Kind {
        text,
        beginOutput,
        endOutput,
        beginStatement,
        endStatement,
        name,
        string,
        integer,
        floating,
        symbol,
        end
    };
    Kind kind;
    int line;
    std::string text; // what a string means; otherwise as it is written
    std::uint64_t integer = 0;
    double number = 0;
};

/// Cuts a template into tokens; the last is of the kind `end`. White space around tags is dropped here, as their marks
/// and the rules of trim_blocks and lstrip_blocks say, comments too. Linear in the length of the text.
///
/// Errors: TemplateError.
std::vector<Token> readTokens(std::string_view source, const std::string& name);

} // namespace fenlo::hub::templates
