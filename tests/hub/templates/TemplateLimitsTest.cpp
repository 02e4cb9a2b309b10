// What is wrong with a template, or more than it may use, ends in one line with its place.

#include "base/Json.h"
#include "hub/templates/ChatTemplate.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::hub;

namespace {

std::string outcome(const std::string& text, const nlohmann::ordered_json& context = nlohmann::ordered_json::object(),
                    const RenderLimits& limits = {}) {
    const test::VirtualClock clock;
    try {
        return ChatTemplate::parse(text, "t").render(context, clock, limits).text.substr(0, 100);
    } catch (const TemplateError& error) {
        return error.what();
    }
}

std::string repeated(const std::string& text, int count) {
    std::string out;
    for (int i = 0; i < count; ++i)
        out += text;
    return out;
}

} // namespace

TEST(TemplateLimits, FaultsOfTheText) {
    const struct {
        const char* text;
        const char* error;
    } cases[] = {
        {"a\n{{ 1", "t:2: a tag does not end with \"}}\""},
        {"{% if x %}\na", "t:2: \"endif\" is missing"},
        {"{% endif %}", "t:1: unknown statement \"endif\""},
        {"{% include 'x' %}", "t:1: unknown statement \"include\""},
        {"\n\n{{ 'a }}", "t:3: a string does not end"},
        {"{{ '\\x4' }}", "t:1: a string has an escape that is cut short"},
        {"{# a", "t:1: a comment does not end"},
        {"{% raw %} {% endra %}", "t:1: \"raw\" has no \"endraw\""},
        {"{{ 1 + }}", "t:1: unexpected \"}}\""},
        {"{{ a b }}", "t:1: unexpected \"b\""},
        {"{{ a ? b }}", "t:1: unexpected character \"?\""},
        {"{{ (1 }}", "t:1: unexpected \"}\""},
        {"{{ 1) }}", "t:1: unexpected \")\""},
        {"{{ [1)] }}", "t:1: unexpected \")\""},
        {"{{ x | nothing }}", "t:1: there is no filter \"nothing\""},
        {"{{ x is strange }}", "t:1: there is no test \"strange\""},
        {"{{ f(a=1, 2) }}", "t:1: an argument without a name stands behind one with a name"},
        {"{% break %}", "t:1: \"break\" stands outside of a loop"},
        {"{% for x in y %}{% macro m() %}{% continue %}{% endmacro %}{% endfor %}",
         "t:1: \"continue\" stands outside of a loop"},
        {"{% macro m(a=1, b) %}{% endmacro %}", "t:1: a parameter without a value stands behind one with a value"},
        {"{% for x of y %}", "t:1: expected \"in\" before \"of\""},
        {"{{ 9223372036854775808 }}", "t:1: the number \"9223372036854775808\" is out of range"},
        {"{{ -9223372036854775809 }}", "t:1: the number \"9223372036854775809\" is out of range"},
        {"{{ - -9223372036854775808 }}", "t:1: an integer does not fit 64 bits"},
        {"{% call m() %}{% endcall %}", "t:1: unknown statement \"call\""},
        {"{% for x in y recursive %}", "t:1: unexpected \"recursive\""},
        {"{{ 1e999 }}", "t:1: the number \"1e999\" is out of range"},
        {"{{ x.1a }}", "t:1: unexpected \"a\""},
        {"{{ and }}", "t:1: unexpected \"and\""},
    };
    for (const auto& [text, error] : cases)
        EXPECT_EQ(outcome(text), error) << text;
}

TEST(TemplateLimits, FaultsOfTheRendering) {
    const struct {
        const char* text;
        const char* error;
    } cases[] = {
        {"\n{{ x.y }}", "t:2: \"x\" is undefined"},
        {"{{ {}.a.b }}", "t:1: \"a\" is undefined"},
        {"{{ [][0].b }}", "t:1: an element is undefined"},
        {"{{ x() }}", "t:1: \"x\" is undefined"},
        {"{{ x + 1 }}", "t:1: \"x\" is undefined"},
        {"{{ 'a' + 1 }}", "t:1: cannot use + with a string and an integer"},
        {"{{ 1 < 'a' }}", "t:1: cannot use < or > with an integer and a string"},
        {"{{ 1 in 2 }}", "t:1: cannot use in with an integer and an integer"},
        {"{{ 1 / 0 }}", "t:1: division by zero"},
        {"{{ 9223372036854775807 + 1 }}", "t:1: an integer does not fit 64 bits"},
        {"{{ 10 ** 19 }}", "t:1: an integer does not fit 64 bits"},
        {"{{ (-9223372036854775807 - 1) // -1 }}", "t:1: an integer does not fit 64 bits"},
        {"{{ 1e300 | int }}", "t:1: int: the number does not fit 64 bits"},
        {"{{ 'a'() }}", "t:1: a string cannot be called"},
        {"{{ 'a'.nope() }}", "t:1: a string has no method \"nope\""},
        {"{{ {[]: 1} }}", "t:1: a list cannot be a key"},
        {"{{ 'a'.split('') }}", "t:1: split: the separator is empty"},
        {"{{ 'a' | replace }}", "t:1: replace: the argument \"old\" is missing"},
        {"{{ 'a' | upper(1) }}", "t:1: upper: takes no more than 0 arguments"},
        {"{{ 'a' | trim(strip='x') }}", "t:1: trim: has no place for the argument \"strip\""},
        {"{{ 'a'.zfill(3) }}", "t:1: a string has no method \"zfill\""},
        {"{{ {}.clear() }}", "t:1: a mapping has no method \"clear\""},
        {"{{ '%s' % 'x' }}", "t:1: cannot use % with a string and a string"},
        {"{{ 'a' | trim(1) }}", "t:1: trim: wants a string, not an integer"},
        {"{{ x | tojson }}", "t:1: tojson: an undefined value has no form in JSON"},
        {"{% for x in 5 %}{% endfor %}", "t:1: an integer is no sequence"},
        {"{% for a, b in [[1]] %}{% endfor %}", "t:1: cannot unpack 1 values into 2"},
        {"{% set x = {} %}{% set x.a = 1 %}", "t:1: cannot set an attribute of \"x\", which is no namespace"},
        {"{% macro m(a) %}{% endmacro %}\n{{ m(1, 2) }}", "t:2: macro m: takes no more than 1 arguments"},
        {"{% macro m(a) %}{% endmacro %}\n{{ m(1, a=2) }}", "t:2: macro m: has no place for the argument \"a\""},
        {"{{ [1,\n 2] | sort(attribute='a,b') }}", "t:2: sort: sorts by one attribute"},
        {"{% set x = 1 +\n  'a' %}", "t:1: cannot use + with an integer and a string"},
        {"{{ [1][::0] }}", "t:1: a slice's step is zero"},
        {"{{ range(1, none) }}", "t:1: range: wants an integer, not none"},
        {"{{ range(1, 2, 0) }}", "t:1: range: the step is zero"},
        {"{{ strftime_now('%Q') }}", "t:1: strftime_now: unknown format \"%Q\""},
        {"{{ raise_exception('a\\nb') }}", "t:1: a b"},
        {"{{ ['a'] | map('nope') }}", "t:1: map: there is no filter \"nope\""},
        {"{{ ['a'] | select('nope') }}", "t:1: select: there is no test \"nope\""},
    };
    for (const auto& [text, error] : cases)
        EXPECT_EQ(outcome(text), error) << text;
    EXPECT_EQ(outcome("", {{"a", {18446744073709551615ULL}}}),
              "t:1: an integer of what is rendered does not fit 64 bits");
    EXPECT_EQ(outcome("", nlohmann::ordered_json::array()), "t:1: is rendered with a list in place of variables");
    EXPECT_EQ(outcome("{{ a }}\xFF", {{"a", "x\xFFy"}}), "x\uFFFDy\uFFFD");
}

TEST(TemplateLimits, HostileTemplates) {
    const RenderLimits limits{.steps = 500'000, .outputBytes = 1 << 20, .memoryBytes = 8 << 20};
    const std::string steps = "takes more than 500000 steps";
    const std::string memory = "needs more than 8388608 bytes of memory";
    const std::string output = "writes more than 1048576 bytes";
    const std::string deep = "is nested too deeply";
    const std::string grow = "{% set ns = namespace(v=";
    const std::string forever = ") %}{% for i in range(1000) %}{% set ns.v = ";
    const struct {
        std::string text;
        std::string fault;
    } cases[] = {
        {"{% for i in range(10**9) %}{% endfor %}", memory},
        {"{% set r = range(99) %}{% for i in range(9999) %}{% for j in r %}{{ i + j * 2 }}{% endfor %}{% endfor %}",
         steps},
        {"{{ 'a' * 10**12 }}", memory},
        {"{{ 'abcdefgh' * 10**4 * 10**5 }}", memory},
        {"{{ [1] * 10**17 }}", memory},
        {grow + "'ab'" + forever + "ns.v ~ ns.v %}{% endfor %}", memory},
        {grow + "'ab'" + forever + "ns.v | replace('a', 'abab') %}{% endfor %}", steps},
        {grow + "[1]" + forever + "ns.v + ns.v %}{% endfor %}", memory},
        {grow + "{}" + forever + "dict(ns.v, **{'k' ~ i: 1}) %}{% endfor %}", memory},
        {grow + "[]" + forever + "[ns.v] %}{% endfor %}{{ ns.v }}", deep},
        {grow + "[]" + forever + "[ns.v] %}{% endfor %}{{ ns.v | tojson }}", deep},
        {grow + "[1]) %}{% for i in range(40) %}{% set ns.v = [ns.v, ns.v] %}{% endfor %}{{ ns.v }}", steps},
        {grow + "[1]) %}{% for i in range(40) %}{% set ns.v = [ns.v, ns.v] %}{% endfor %}{{ ns.v == ns.v[:] }}", steps},
        {"{% set a = [] %}{% set _ = a.append(a) %}{{ a }}", deep},
        {"{% macro m() %}{% for x in [1] if m() %}{% endfor %}{% endmacro %}{{ m() }}", deep},
        {"{% macro m() %}{{ m() }}{% endmacro %}{{ m() }}", deep},
        {"{% set x = 'x' * 10**6 %}{% for i in range(100) %}{{ x }}{% endfor %}", output},
        {"{% set x = ('a' * 10**6) %}{% set y = ('a' * 10**5) ~ 'b' %}{% for i in range(1000) %}{{ y in x }}{% "
         "endfor %}",
         steps},
        {"{{ " + repeated("(", 5000) + "1" + repeated(")", 5000) + " }}", deep},
        {"{{ 1" + repeated(" + 1", 5000) + " }}", deep},
        {"{{ x" + repeated(".a", 5000) + " }}", deep},
        {"{{ " + repeated("not ", 5000) + "1 }}", deep},
        {"{{ " + repeated("-", 5000) + "1 }}", deep},
        {"{{ 1" + repeated(" if 1 else 1", 5000) + " }}", deep},
        {repeated("{% if 1 %}", 5000), deep},
        {"{% for " + repeated("(", 5000) + repeated(")", 5000) + " %}", deep},
        {std::string(2 << 20, 'a'), "is longer than 1048576 bytes"},
    };
    for (const auto& [text, fault] : cases)
        EXPECT_EQ(outcome(text, nlohmann::ordered_json::object(), limits), "t:1: " + fault) << text.substr(0, 100);
    nlohmann::ordered_json nested = 1;
    for (int i = 0; i < 1000; ++i)
        nested = nlohmann::ordered_json::array({std::move(nested)});
    EXPECT_EQ(outcome("", {{"a", nested}}), "t:1: " + deep);
}

TEST(TemplateLimits, NothingIsQuadratic) {
    // With time or memory that grows with the square, these would not end.
    const std::string many = repeated("{{ '{' }}{ {% raw %}{%{% endraw %} ", 25000);
    EXPECT_EQ(outcome(many).substr(0, 8), "{{ {% {{");
    const nlohmann::ordered_json long1 = {{"a", std::string(4'000'000, 'a')}, {"b", std::string(2'000'000, 'a') + "b"}};
    EXPECT_EQ(outcome("{{ b in a }}{{ a.rfind(b) }}{{ a.split(b) | length }}{{ a.replace('a', 'b') | length }}", long1),
              "False-114000000");
    EXPECT_EQ(outcome("{% for c in a[:200000] %}{% endfor %}{{ a[::-1] | length }}{{ a.count('aa') }}", long1),
              "40000002000000");
}
