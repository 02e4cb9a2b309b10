#include "account/ReleaseVersion.h"

#include <algorithm>
#include <charconv>

namespace fenlo {

namespace {

constexpr std::size_t mostNumbers = 6;
constexpr std::size_t mostDigits = 9;
constexpr std::size_t longestVersion = 64;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Nothing unless it is numbers with dots between them.
std::optional<std::vector<std::uint32_t>> readNumbers(std::string_view text) {
    std::vector<std::uint32_t> numbers;
    for (;;) {
        const std::string_view digits = text.substr(0, text.find('.'));
        std::uint32_t number = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        if (error != std::errc() || end != digits.data() + digits.size() || digits.size() > mostDigits ||
            numbers.size() == mostNumbers)
            return std::nullopt;
        numbers.push_back(number);
        if (digits.size() == text.size())
            return numbers;
        text.remove_prefix(digits.size() + 1);
    }
}

/// "beta12" and "beta.12" are both "beta" and "12": the second beta comes before the twelfth.
std::vector<std::string> runsOf(std::string_view text) {
    std::vector<std::string> runs;
    while (!text.empty()) {
        const auto isKind = isDigit(text.front()) ? isDigit : isLetter;
        const std::size_t size = std::size_t(std::ranges::find_if_not(text, isKind) - text.begin());
        if (size > 0) {
            const std::string_view run = text.substr(0, size);
            const std::size_t zeros = std::min(run.find_first_not_of('0'), run.size() - 1);
            runs.emplace_back(run.substr(isKind == isDigit ? zeros : 0));
        }
        text.remove_prefix(std::max<std::size_t>(size, 1));
    }
    return runs;
}

/// Numbers come before letters, and are compared as numbers.
std::weak_ordering compareRuns(const std::string& one, const std::string& other) {
    if (isDigit(one.front()) != isDigit(other.front()))
        return isDigit(one.front()) ? std::weak_ordering::less : std::weak_ordering::greater;
    if (isDigit(one.front()) && one.size() != other.size())
        return one.size() <=> other.size();
    return one.compare(other) <=> 0;
}

} // namespace

std::optional<ReleaseVersion> ReleaseVersion::parse(std::string_view text) {
    if (text.size() > longestVersion)
        return std::nullopt;
    const std::size_t dash = text.find('-');
    auto numbers = readNumbers(text.substr(0, dash));
    if (!numbers)
        return std::nullopt;
    ReleaseVersion version;
    version.m_text = text;
    if (dash != std::string_view::npos) {
        const std::string_view prerelease = text.substr(dash + 1);
        const auto isPlain = [](char c) { return isDigit(c) || isLetter(c) || c == '.'; };
        if (prerelease.empty() || !isLetter(prerelease.front()) || !std::ranges::all_of(prerelease, isPlain))
            return std::nullopt;
        version.m_prerelease = runsOf(prerelease);
    }
    while (!numbers->empty() && numbers->back() == 0)
        numbers->pop_back();
    version.m_numbers = std::move(*numbers);
    return version;
}

std::optional<ReleaseVersion> ReleaseVersion::ofPackage(std::string_view text) {
    if (const std::size_t epoch = text.find(':'); epoch != std::string_view::npos)
        text.remove_prefix(epoch + 1);
    if (const std::size_t revision = text.rfind('-');
        revision != std::string_view::npos && revision + 1 < text.size() && isDigit(text[revision + 1]))
        text = text.substr(0, revision);
    std::string release(text);
    std::ranges::replace(release, '~', '-');
    return parse(release);
}

std::weak_ordering operator<=>(const ReleaseVersion& one, const ReleaseVersion& other) {
    if (const auto numbers = one.m_numbers <=> other.m_numbers; numbers != 0)
        return numbers;
    if (one.isPrerelease() != other.isPrerelease())
        return one.isPrerelease() ? std::weak_ordering::less : std::weak_ordering::greater;
    return std::lexicographical_compare_three_way(one.m_prerelease.begin(), one.m_prerelease.end(),
                                                  other.m_prerelease.begin(), other.m_prerelease.end(), compareRuns);
}

} // namespace fenlo
