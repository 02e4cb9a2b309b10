#include "base/Clock.h"
#include "base/Dates.h"
#include "base/Json.h"
#include "hub/templates/Operators.h"
#include "hub/templates/ValueText.h"

#include <algorithm>
#include <ctime>
#include <iomanip>
#include <locale>
#include <sstream>

/// The functions that every template can call, and the methods of lists, mappings and loops.
namespace fenlo::hub::templates {

namespace {

constexpr std::string_view timeDirectives = "aAbBcdDeFHIjmMnpStTuUwWxXyY%";
constexpr std::size_t longestFormat = 1000; // bytes
constexpr std::size_t longestMessage = 500; // code points

Value range(Call& call) {
    if (std::ranges::any_of(call.parameters, isNone))
        call.failWants("an integer", None{});
    const bool hasStart = call.has(1);
    const std::int64_t start = hasStart ? call.integer(0, 0) : 0;
    const std::int64_t stop = call.integer(hasStart ? 1 : 0, 0);
    const std::int64_t step = call.integer(2, 1);
    if (step == 0)
        call.fail("the step is zero");
    List* numbers = call.run.list({});
    for (std::int64_t at = start; step < 0 ? at > stop : at < stop;) {
        call.run.step();
        call.run.append(*numbers, at);
        if (__builtin_add_overflow(at, step, &at))
            break;
    }
    return numbers;
}

/// The members of mappings, then the named arguments.
void addMembers(Call& call, Dict& dict) {
    for (const Value& given : call.given.positional) {
        if (!asDict(given))
            call.failWants("a mapping", given);
        const std::vector<Dict::Entry> entries = asDict(given)->entries; // it may be this one
        call.run.charge(entries.size() * sizeof(Dict::Entry));
        for (const auto& [key, value] : entries)
            call.run.set(dict, key, value);
    }
    for (const auto& [name, value] : call.given.named)
        call.run.set(dict, call.run.text(std::string(name)), value);
}

template <bool isNamespace>
Value makeDict(Call& call) {
    Dict* dict = call.run.dict(isNamespace);
    addMembers(call, *dict);
    return dict;
}

Value raiseException(Call& call) {
    const Text& message = toText(call.run, call[0]);
    call.run.fail(std::string_view(message.utf8).substr(0, message.byteOf(longestMessage)));
}

/// The same moment as the fields of a calendar.
std::tm fieldsOf(std::chrono::system_clock::time_point moment) {
    std::tm fields{};
    std::istringstream stamp(dates::localStamp(moment));
    stamp.imbue(std::locale::classic());
    stamp >> std::get_time(&fields, "%Y-%m-%d_%H-%M-%S");
    using namespace std::chrono;
    const sys_days date = year(fields.tm_year + 1900) / (fields.tm_mon + 1) / fields.tm_mday;
    fields.tm_wday = static_cast<int>(weekday(date).c_encoding());
    fields.tm_yday = static_cast<int>((date - sys_days(year(fields.tm_year + 1900) / 1 / 1)).count());
    return fields;
}

/// In a format of strftime, in English wherever this runs; nothing for an unknown directive. "-" behind the percent
/// sign drops zeros in front.
std::optional<std::string> formatTime(std::chrono::system_clock::time_point moment, std::string_view format) {
    const std::tm fields = fieldsOf(moment);
    std::string out;
    for (std::size_t at = 0; at < format.size(); ++at) {
        if (format[at] != '%') {
            out += format[at];
            continue;
        }
        const bool dropsZeros = format.substr(at + 1).starts_with('-');
        at += dropsZeros ? 2 : 1;
        if (at >= format.size() || timeDirectives.find(format[at]) == std::string_view::npos)
            return std::nullopt;
        std::ostringstream shown;
        shown.imbue(std::locale::classic());
        shown << std::put_time(&fields, (std::string("%") + format[at]).c_str());
        const std::string text = shown.str();
        const std::size_t first = dropsZeros ? std::min(text.find_first_not_of("0 "), text.size() - 1) : 0;
        out += text.substr(first);
    }
    return out;
}

Value strftimeNow(Call& call) {
    const std::string_view format = call.text(0);
    const std::optional<std::string> time =
        format.size() > longestFormat ? std::nullopt : formatTime(call.run.clock().wallTime(), format);
    if (!time)
        call.fail("unknown format " + inQuotes(format));
    return call.run.text(*time);
}

Dict& dictOf(const Call& call) {
    return *asDict(call.self);
}

Value append(Call& call) {
    call.run.append(*asList(call.self), call[0]);
    return None{};
}

Value popItem(Call& call) {
    std::vector<Value>& items = asList(call.self)->items;
    const auto size = static_cast<std::int64_t>(items.size());
    const std::int64_t at = call.integer(0, -1);
    if (at >= size || at < -size)
        call.fail("there is no such item");
    const auto place = items.begin() + (at < 0 ? at + size : at);
    const Value item = *place;
    call.run.work(items.size());
    items.erase(place);
    return item;
}

Value getMember(Call& call) {
    const Value* member = call.run.find(dictOf(call), call[0]);
    return member ? *member : isUndefined(call[1]) ? Value(None{}) : call[1];
}

Value popMember(Call& call) {
    const Value* member = call.run.find(dictOf(call), call[0]);
    if (!member && isUndefined(call[1]))
        call.fail("there is no such key");
    const Value value = member ? *member : call[1];
    call.run.step(dictOf(call).entries.size()); // the index is made anew
    if (member)
        dictOf(call).erase(call[0]);
    return value;
}

Value update(Call& call) {
    addMembers(call, dictOf(call));
    return None{};
}

Value cycle(Call& call) {
    const std::vector<Value>& values = call.given.positional;
    if (values.empty())
        call.fail("wants values");
    return values[std::get<Loop*>(call.self)->index % values.size()];
}

constexpr NativeRow globalRows[] = {
    {isListMethod, "append", "item", append},        {isLoopMethod, "cycle", "*", cycle},
    {isGlobal, "dict", "*", makeDict<false>},        {isDictMethod, "get", "key default?", getMember},
    {isGlobal, "namespace", "*", makeDict<true>},    {isDictMethod, "pop", "key default?", popMember},
    {isListMethod, "pop", "index?", popItem},        {isGlobal, "raise_exception", "message", raiseException},
    {isGlobal, "range", "start stop? step?", range}, {isGlobal, "strftime_now", "format", strftimeNow},
    {isDictMethod, "update", "*", update},
};

} // namespace

std::span<const NativeRow> globalFunctions() {
    return globalRows;
}

} // namespace fenlo::hub::templates
