#include "base/Json.h"
#include "base/Text.h"
#include "hub/templates/Operators.h"
#include "hub/templates/ValueText.h"

#include <algorithm>
#include <cmath>

namespace fenlo::hub::templates {

namespace {

constexpr double integerLimit = 9223372036854775808.0; // 2^63
constexpr std::int64_t mostDecimals = 60;

void requireNumber(const Call& call) {
    requireDefined(call.run, call.self);
    if (!isNumber(call.self))
        call.failWants("a number", call.self);
}

Value absolute(Call& call) {
    requireNumber(call);
    return applySign(call.run, toDouble(call.self) < 0 ? '-' : '+', call.self);
}

Value truncatedInteger(Call& call, double number) {
    if (!(std::fabs(number) < integerLimit))
        call.fail("the number does not fit 64 bits");
    return static_cast<std::int64_t>(number);
}

Value integerOf(Call& call) {
    if (isFloat(call.self))
        return truncatedInteger(call, toDouble(call.self));
    if (isNumber(call.self))
        return applySign(call.run, '+', call.self);
    if (const Text* text = asText(call.self)) {
        const auto base = static_cast<int>(std::clamp<std::int64_t>(call.integer(1, 10), 2, 36));
        if (const std::optional<std::int64_t> integer = parseInteger(text->utf8, base))
            return *integer;
        const std::optional<double> number = parseFloat(text->utf8);
        if (number && std::isfinite(*number))
            return truncatedInteger(call, *number);
    }
    return isUndefined(call[0]) ? Value(std::int64_t{0}) : call[0];
}

Value floatOf(Call& call) {
    if (isNumber(call.self))
        return toDouble(call.self);
    const Text* text = asText(call.self);
    const std::optional<double> number = text ? parseFloat(text->utf8) : std::nullopt;
    return number ? *number : isUndefined(call[0]) ? Value(0.0) : call[0];
}

Value rounded(Call& call) {
    requireNumber(call);
    const std::int64_t decimals = call.integer(0, 0);
    const std::string_view method = call.text(1, "common");
    if (decimals < 0 || decimals > mostDecimals)
        call.fail("wants from 0 to " + std::to_string(mostDecimals) + " decimals");
    const double number = toDouble(call.self);
    if ((method == "common" && !isFloat(call.self)) || !std::isfinite(number))
        return call.self;
    if (method == "common") // of the exact value; halves go to the even digit
        return *parseFloat(text::fixed(number, static_cast<int>(decimals)));
    if (method != "ceil" && method != "floor")
        call.fail("unknown method " + inQuotes(method));
    const double scale = std::pow(10.0, static_cast<double>(decimals));
    return (method == "ceil" ? std::ceil(number * scale) : std::floor(number * scale)) / scale;
}

constexpr NativeRow numberRows[] = {
    {isFilter, "abs", "", absolute},
    {isFilter, "float", "default?", floatOf},
    {isFilter, "int", "default? base?", integerOf},
    {isFilter, "round", "precision? method?", rounded},
};

} // namespace

std::span<const NativeRow> numberFunctions() {
    return numberRows;
}

} // namespace fenlo::hub::templates
