// Expressions and statements with what they print, by the language's published rules.

#include "base/Json.h"
#include "hub/templates/ChatTemplate.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::hub;

namespace {

const char* const variables =
    R"({"i": 7, "f": 2.5, "t": true, "n": null, "s": "Hello", "u": "\u00e4\u65e5\ud83d\ude00z",
    "l": [3, 1, 2], "d": {"b": 1, "a": [true, null], "items": 5},
    "rows": [{"k": "x", "v": 2}, {"k": "Y", "v": 1}, {"k": "x", "v": 3}]})";

std::string rendered(const std::string& text) {
    static const nlohmann::ordered_json context = parseOrderedJson(variables);
    const test::VirtualClock clock;
    try {
        return ChatTemplate::parse(text, "t").render(context, clock).text;
    } catch (const TemplateError& error) {
        return error.what();
    }
}

struct TemplateCase {
    const char* input;
    const char* output;
};

template <std::size_t count>
void expectExpressions(const TemplateCase (&cases)[count]) {
    for (const auto& [expression, text] : cases)
        EXPECT_EQ(rendered("{{ " + std::string(expression) + " }}"), text) << expression;
}

template <std::size_t count>
void expectTemplates(const TemplateCase (&cases)[count]) {
    for (const auto& [input, text] : cases)
        EXPECT_EQ(rendered(input), text) << input;
}

} // namespace

TEST(TemplateExpression, LiteralsAndPrinting) {
    expectExpressions({
        {"[1, 2.0, 'a', \"it's\", none, True, (1,), (), {'k': [none]}]",
         "[1, 2.0, 'a', \"it's\", None, True, (1,), (), {'k': [None]}]"},
        {"1e3, 1.5e-7, 1e15, 1e16, 123456789.125, -0.0, 0.1 + 0.2, 5e-324",
         "(1000.0, 1.5e-07, 1000000000000000.0, 1e+16, 123456789.125, -0.0, 0.30000000000000004, 5e-324)"},
        {"9223372036854775807, -9223372036854775808, -9223372036854775808 + 1",
         "(9223372036854775807, -9223372036854775808, -9223372036854775807)"},
        {R"('a' "b" 'c\n\'\x41\u00e4\U0001F600\d\\')", "abc\n'A\u00e4\U0001F600\\d\\"},
        {R"(['\n\t\x07', 'a\'"', '\u200b\u00e4', '\ud800'])", R"(['\n\t\x07', 'a\'"', '\u200b)"
                                                              "\u00e4', '\uFFFD']"},
        {"{1: 'a', 1.0: 'b', true: 'c', none: 2}", "{1: 'c', None: 2}"},
        {"true and True, false, none is none", "(True, False, True)"},
        {"d, u", "({'b': 1, 'a': [True, None], 'items': 5}, '\u00e4\u65e5\U0001F600z')"},
    });
}

TEST(TemplateExpression, Precedence) {
    expectExpressions({
        {"1 + 2 * 3 ** 2 - 4 / 2", "17.0"},
        {"2 ** 3 ** 2, -2 ** 2, 2 ** -1, 7 // -2, -7 % 3, 7 % -3, 7.5 // 2, -7.5 % 2",
         "(64, 4, 0.5, -4, 2, -2, 3.0, 0.5)"},
        {"1 ~ 2 * 3, 'a' ~ -1, '1' + 2 ~ 3", "('16', 'a-1', '123')"}, // "~" binds closer than "+"
        {"1 + (2 ~ 3) | int, 'a' ~ 'b' | upper, l | length + 1, not i is even", "(24, 'aB', 4, True)"},
    });
}

TEST(TemplateExpression, OperatorsAndConditions) {
    expectExpressions({
        {"not 1 == 2 and 3 in l or n", "True"},
        {"1 < 2 < 3, 1 < 3 < 2, 1 == 1.0 == true, 'a' < 'b' <= 'b', [1, 2] < [1, 3], (1, 2) == (1, 2), [1] == (1,)",
         "(True, False, True, True, True, True, False)"},
        {"9007199254740993 == 9007199254740992.0, 9007199254740993 > 9007199254740992.0", "(False, True)"},
        {"'ell' in s, 'x' not in s, 'b' in d, 4 in l, 1 in missing", "(True, True, True, False, False)"},
        {"0 or 'x', '' and 1, n or missing or 'last', not missing", "('x', '', 'last', True)"},
        {"'a' if i > 5 else 'b', 'a' if f > 5 else 'b' if t else 'c', ('x' if n) is defined", "('a', 'b', False)"},
        {"'ab' * 3, 2 * 'x', [1] * 2, 'a' * -1, l + [4], (1,) + (2,)",
         "('ababab', 'xx', [1, 1], '', [3, 1, 2, 4], (1, 2))"},
        {"-1 | abs, - f | round, +3 - -2, (-3) | abs", "(1, -2.0, 5, 3)"},
        {"missing == missing2, missing == none, n == none, missing is none", "(True, False, True, False)"},
        {"dict(a=1, b=2) == {'b': 2, 'a': 1}, {'a': 1} == {'a': 2}", "(True, False)"},
    });
}

TEST(TemplateExpression, AccessAndSlices) {
    expectExpressions({
        {"d.b, d['b'], d.a.0, d.a[-1], l[0], l[-1], u[0], u[2], u[-1], l[true]",
         "(1, 1, True, None, 3, 2, '\u00e4', '\U0001F600', 'z', 1)"},
        {"d['items'], d.items() | list | length, d.get('b'), d.get('q'), d.get('q', 9)", "(5, 3, 1, None, 9)"},
        {"d.nothing is defined, l[9] is defined, u[4] is defined, d['x y'] is undefined",
         "(False, False, False, True)"},
        {"l[1:], l[:1], l[::-1], l[-2:], l[5:], l[::2], l[2:0:-1], l[:-9:-2]",
         "([1, 2], [3], [2, 1, 3], [1, 2], [], [3, 2], [2, 1], [2, 3])"},
        {"u[1:3], u[::-1], u[:-1], s[1:4:2], s[-3:], ''[::-1], u[9:], u[::2]",
         "('\u65e5\U0001F600', 'z\U0001F600\u65e5\u00e4', '\u00e4\u65e5\U0001F600', 'el', 'llo', '', '', "
         "'\u00e4\U0001F600')"},
        {"l[:99999999999:99999999999], l[none:2], (1, 2, 3)[1:]", "([3], [3, 1], (2, 3))"},
        {"s.__class__ is defined, l.__len__ is defined, d.__init__ is defined, s.mro is defined",
         "(False, False, False, False)"},
        {"s.upper(), s.upper is callable, namespace(a=1).a, rows[0].k", "('HELLO', True, 1, 'x')"},
    });
}

TEST(TemplateExpression, StringMethods) {
    expectExpressions({
        {"'  a b '.strip(), 'xxaxx'.strip('x'), 'xxaxx'.lstrip('x'), 'xaxy'.rstrip('yx'), '\u3000a\\u2003'.strip()",
         "('a b', 'a', 'axx', 'xa', 'a')"},
        {"' a  b c '.split(), ' a  b c '.split(none, 1), 'a,b,,c'.split(','), 'a,b,c'.split(',', 1), ''.split(','), "
         "''.split()",
         "(['a', 'b', 'c'], ['a', 'b c '], ['a', 'b', '', 'c'], ['a', 'b,c'], [''], [])"},
        {"'a,b,c'.rsplit(',', 1), 'a,b,c'.rsplit(','), 'abc'.rsplit('x'), ' a b c'.split(maxsplit=5)",
         "(['a,b', 'c'], ['a', 'b', 'c'], ['abc'], ['a', 'b', 'c'])"},
        {"'a\\nb\\r\\nc\\n'.splitlines(), 'a\\n\\nb'.splitlines(true)", "(['a', 'b', 'c'], ['a\\n', '\\n', 'b'])"},
        {"s.startswith('He'), s.startswith(('x', 'He')), s.endswith('lo'), s.endswith(('x', 'y'))",
         "(True, True, True, False)"},
        {"u.find('z'), u.find('q'), s.rfind('l'), s.count('l'), 'aaaa'.count('aa'), 'ab'.count('')",
         "(3, -1, 3, 2, 2, 3)"},
        {"'hello wORLD it\\'s'.title(), 'ABC def'.capitalize(), '\u00e4B'.upper(), '\u00c4B'.lower()",
         "(\"Hello World It'S\", 'Abc def', '\u00c4B', '\u00e4b')"},
        {"'aXbX'.replace('X', '-'), 'aXbX'.replace('X', '', 1), 'ab'.replace('', '.'), ', '.join(['a', 'b']), "
         "'-'.join('xyz')",
         "('a-b-', 'abX', '.a.b.', 'a, b', 'x-y-z')"},
        {"'12'.isdigit(), 'a1'.isdigit(), ''.isdigit()", "(True, False, False)"},
    });
}

TEST(TemplateExpression, Filters) {
    expectExpressions({
        {"missing | default('x'), '' | default('x'), '' | d('x', true), n | default('x'), 0 | default(1, boolean=true)",
         "('x', '', 'x', None, 1)"},
        {"l | sort, l | sort(reverse=true), ['b', 'A', 'c'] | sort, ['b', 'A'] | sort(case_sensitive=true), rows | "
         "sort(attribute='k') | map(attribute='v') | list",
         "([1, 2, 3], [3, 2, 1], ['A', 'b', 'c'], ['A', 'b'], [2, 3, 1])"},
        {"l | min, l | max, [] | min is undefined, ['b', 'A'] | max, rows | max(attribute='v')",
         "(1, 3, True, 'b', {'k': 'x', 'v': 3})"},
        {"l | first, u | last, l | reverse | list, u | reverse, l | join('-'), l | sum, rows | sum(attribute='v', "
         "start=10), u | length, d | length, d | first",
         "(3, 'z', [2, 1, 3], 'z\U0001F600\u65e5\u00e4', '3-1-2', 6, 16, 4, 3, 'b')"},
        {"rows | map(attribute='k') | unique | list, ['a', 'A', 'b'] | unique | list, l | map('string') | list",
         "(['x', 'Y'], ['a', 'b'], ['3', '1', '2'])"},
        {"l | select('odd') | list, l | reject('gt', 2) | list, [0, 1, ''] | select | list, rows | selectattr('v', "
         "'>=', 2) | map(attribute='v') | list, rows | rejectattr('q') | list | length",
         "([3, 1], [1, 2], [1], [2, 3], 3)"},
        {"d | dictsort | map('first') | list, {'a': 2, 'b': 1} | dictsort(by='value'), {'B': 1, 'a': 2} | "
         "dictsort(true), d | items | first",
         "(['a', 'b', 'items'], [('b', 1), ('a', 2)], [('B', 1), ('a', 2)], ('b', 1))"},
        {"'12' | int, ' +10 ' | int, 'x' | int, 'x' | int(-1), '0x1f' | int, '1f' | int(base=16), 2.9 | int, '2.9' | "
         "int, -2.9 | int, true | int",
         "(12, 10, 0, -1, 0, 31, 2, 2, -2, 1)"},
        {"'1.5' | float, 'x' | float, 3 | float, 'x' | float('d'), 2.5 | round, 3.5 | round, 2.675 | round(2), 42.55 | "
         "round(1, 'floor'), 1.1 | round(method='ceil'), 7 | round",
         "(1.5, 0.0, 3.0, 'd', 2.0, 4.0, 2.67, 42.5, 2.0, 7)"},
        {"'a b-c (d' | title, 'aBC' | capitalize, 'a' | upper, 'A' | lower, ' a ' | trim, 'xax' | trim('x')",
         "('A B-C (D', 'Abc', 'A', 'a', 'a', 'a')"},
        {"'a\\nb\\n\\nc' | indent, 'a\\nb' | indent(2, true), 'a\\n\\nb' | indent('> ', blank=true)",
         "('a\\n    b\\n\\n    c', '  a\\n  b', 'a\\n> \\n> b')"},
        {"'<a href=\"x\">&\\'' | e, 'x' | safe, 5 | string, 1 | string | length, 'abc' | list",
         "('&lt;a href=&#34;x&#34;&gt;&amp;&#39;', 'x', '5', 1, ['a', 'b', 'c'])"},
        {"[1, missing, 'a'] | join, missing | length, missing | list, missing | join(','), missing ~ 'x', n ~ 1",
         "('1a', 0, [], '', 'x', 'None1')"},
    });
}

TEST(TemplateExpression, Json) {
    expectExpressions({
        {"[1, 1.0, 1e16, true, none, 'a\"\\\\/\\n\\x01', u, (1,), {}, [], {1: 2, none: 3, true: 4}] | tojson",
         "[1, 1.0, 1e+16, true, null, \"a\\\"\\\\/\\n\\u0001\", \"\u00e4\u65e5\U0001F600z\", [1], {}, [], {\"1\": 4, "
         "\"null\": 3}]"},
        {"u | tojson(ensure_ascii=true)", R"("\u00e4\u65e5\ud83d\ude00z")"},
        {"d | tojson(indent=2)", "{\n  \"b\": 1,\n  \"a\": [\n    true,\n    null\n  ],\n  \"items\": 5\n}"},
        {"{'b': '<&>', 'a': []} | tojson(sort_keys=true, indent='\\t')", "{\n\t\"a\": [],\n\t\"b\": \"<&>\"\n}"},
        {"d | tojson(separators=(',', ':'))", R"({"b":1,"a":[true,null],"items":5})"},
    });
}

TEST(TemplateExpression, Tests) {
    expectExpressions({
        {"i is number, t is number, t is integer, f is float, i is float, t is boolean, s is string, d is mapping, l "
         "is mapping",
         "(True, True, False, True, False, True, True, True, False)"},
        {"s is sequence, d is iterable, i is iterable, range is callable, i is odd, i is even, i is divisibleby 7, i "
         "is divisibleby(2)",
         "(True, True, False, True, True, False, True, False)"},
        {"t is true, i is true, t is false, n is none, missing is defined, missing is not defined, n is defined",
         "(True, False, False, True, False, True, True)"},
        {"'a' is in 'abc', 1 is eq 1.0, 1 is ne 2, 3 is gt 2, 'x' is sameas 'x', 1 is sameas 1.0, l is sameas l, [] is "
         "sameas []",
         "(True, True, True, True, True, False, True, False)"},
        {"not missing is defined and t, 4 is divisibleby 2 and 1 is odd", "(True, True)"},
    });
}

TEST(TemplateExpression, CollectionsStayTheTemplatesOwn) {
    expectTemplates({
        {"{% set a = [1] %}{% set _ = a.append(2) %}{% set _ = a.append(3) %}{{ a.pop() }}{{ a.pop(0) }}{{ a }}",
         "31[2]"},
        {"{% set a = l %}{% set _ = a.append(9) %}{{ l }}", "[3, 1, 2, 9]"},
        {"{{ l }}", "[3, 1, 2]"}, // the rendering before this one changed a copy
        {"{% set a = {'x': 1} %}{% set _ = a.update({'y': 2}, z=3) %}{{ a.pop('x') }}{{ a.pop('q', 'no') }}{{ a }}{{ "
         "a.keys() | list }}{{ a.values() | sum }}",
         "1no{'y': 2, 'z': 3}['y', 'z']5"},
        {"{% set a = namespace(x=1) %}{% for j in range(20) %}{% set a.x = dict(a.x, **{'k' ~ j: j}) if j else {} %}{% "
         "endfor %}{{ a.x | length }}{{ a.x.k19 }}{{ a.x['k1'] }}{{ a.x.k0 is defined }}",
         "19191False"},
    });
}

TEST(TemplateExpression, LoopsAndScopes) {
    expectTemplates({
        {"{% for x in l %}{{ loop.index }}{{ loop.index0 }}{{ loop.revindex }}{{ loop.revindex0 }}{{ loop.first }}{{ "
         "loop.last }}{{ loop.length }}{{ loop.previtem }}{{ loop.nextitem }} {% endfor %}",
         "1032TrueFalse31 2121FalseFalse332 3210FalseTrue31 "},
        {"{% set x = 0 %}{% for y in l %}{{ x }}{% set x = y %}{{ x }} {% endfor %}{{ x }}", "03 01 02 0"},
        {"{% if t %}{% set x = 1 %}{% endif %}{{ x }}", "1"},
        {"{% for a, (b, c) in [(1, (2, 3)), [4, [5, 6]]] %}{{ a + b + c }} {% endfor %}{% set p, q = 'xy' %}{{ q ~ p "
         "}}",
         "6 15 yx"},
        {"{% for k, v in d.items() if v is number %}{{ k }}={{ v }} {% endfor %}{% for k in d %}{{ k }}{% endfor %}",
         "b=1 items=5 baitems"},
        {"{% for x in [] %}a{% else %}none{% endfor %}{% for x in l if x > 9 %}a{% else %}none{% endfor %}{% for x in "
         "missing %}a{% endfor %}",
         "nonenone"},
        {"{% for x in l %}{% for y in 'ab' %}{{ loop.index }}{% endfor %}{{ loop.index }}{% endfor %}", "121122123"},
        {"{% for x in l %}{% if x == 1 %}{% continue %}{% endif %}{{ x }}{% endfor %}{% for x in l %}{{ x }}{% break "
         "%}{% endfor %}",
         "323"},
        {"{% for x in range(3, 0, -1) %}{{ x }}{% endfor %}{% for x in 1, 2 %}{{ x }}{% endfor %}{{ range(2) }}",
         "32112[0, 1]"},
        {"{% for x in [1, 1, 2] %}{{ loop.cycle('o', 'e') }}{% endfor %}", "oeo"},
        // A condition is asked between the rounds, and by what a loop tells of what is to come.
        {"{% set n = namespace(c=0) %}{% for x in 'abcdef' if n.c < 2 %}{% set n.c = n.c + 1 %}{{ x }}{% endfor %}",
         "ab"},
        {"{% set n = namespace(c=0) %}{% for x in 'abcdef' if n.c < 2 %}{{ loop.length }}{% set n.c = 2 %}{% endfor %}",
         "666666"},
        {"{% set n = namespace(l=0) %}{% for x in range(4) if n.l == 0 or n.l.length %}{% set n.l = loop %}{{ x }}{% "
         "endfor %}",
         "0321"}, // a condition that asks its own loop comes to an end
        {"{% for x in range(9) if x is odd %}{{ loop.index }}{{ loop.revindex }}{{ loop.length }}{{ loop.previtem }}{{ "
         "x "
         "}}{{ loop.nextitem }}{{ loop.last }} {% endfor %}",
         "14413False 234135False 324357False 41457True "},
        {"{% for x in [1, 2] if loop is defined %}{{ x }}{% else %}no{% endfor %}{% for x in l %}{% for y in l if y == "
         "loop.index %}{{ y }}{% endfor %}{% endfor %}",
         "no123"},
        {"{% for x in l %}{% set y = x %}{% endfor %}{{ y is defined }}{% for i in [1] %}{{ i }}{% else %}no{% endfor "
         "%}{{ i }}",
         "False17"},
        {"{% set x %}a{{ i }}{% endset %}{{ x | upper }}{% set l = l + [4] %}{{ l }}", "A7[3, 1, 2, 4]"},
    });
}

TEST(TemplateExpression, Macros) {
    expectTemplates({
        {"{% macro m(a, b=a ~ '!', c='z') %}{{ a }}{{ b }}{{ c }}{% endmacro %}{{ m(1) }} {{ m(1, c=3) }} {{ m(b=2, "
         "a=1) }} {{ m() }}",
         "11!z 11!3 12z !z"},
        {"{% macro m() %}{{ x }}{% endmacro %}{% set x = 1 %}{{ m() }}{% set x = 2 %}{{ m() }}", "12"},
        {"{% macro f(k) %}{{ k if k < 2 else k * (f(k - 1) | int) }}{% endmacro %}{{ f(5) }}", "120"},
        {"{% macro m(a, b, c) %}{{ a }}{{ b }}{{ c }}{% endmacro %}{{ m(*l) }}{{ m(1, **{'b': 2, 'c': 3}) }}",
         "312123"},
        {"{% macro m(a=1) %}[{{ a }}]{% endmacro %}{{ m(missing) }}{{ m(none) }}{{ m }}", "[][None]<function>"},
        {"{% set ns = namespace(f=[]) %}{% for x in l %}{% macro m() %}{{ x }}{% endmacro %}{% set ns.f = ns.f + [m] "
         "%}{% endfor %}{% for f in ns.f %}{{ f() }}{% endfor %}",
         "312"},
    });
}

TEST(TemplateExpression, Whitespace) {
    expectTemplates({
        {"a\n\n", "a\n"},
        {"a\r\nb\rc\r\n", "a\nb\nc"},
        {" {{- 1 -}} \n {{ 2 }} \n", "12 "},
        {"  {% if t %}\n\nx\n  {% endif %}\ny", "\nx\ny"},
        {"  {%+ if t %}x{% endif +%}\ny", "  x\ny"},
        {"a {# c #}\nb{#- d -#} \n e", "a be"},
        {"{% raw %}{{ x }}{# #}{% endraw %}", "{{ x }}{# #}"},
        {"{{ '}}' }}{{ {'a': {}} }}{{ '{%' }}", "}}{'a': {}}{%"},
        {"{ {{ 1 }} } %} }}", "{ 1 } %} }}"},
        {"", ""},
    });
}
