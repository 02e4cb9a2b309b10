#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Code points of valid UTF-8, with the meanings that Python gives them.
namespace fenlo::hub::templates {

/// The code point that begins at `at`, which moves behind it.
char32_t takeCodePoint(std::string_view utf8, std::size_t& at);
void appendCodePoint(std::string& out, char32_t codePoint);

bool isSpace(char32_t codePoint);
/// Whether repr() shows it as it is.
bool isPrintable(char32_t codePoint);

enum class Ends { both, left, right };
/// Without white space at its ends, or without the code points that `characters` has.
std::string_view strip(std::string_view text, Ends ends = Ends::both);
std::string_view strip(std::string_view text, Ends ends, std::string_view characters);

/// Where `what` begins for the first time from byte `from` on, or for the last time; npos where it does not. Linear in
/// the length of the text, whatever the texts are.
std::size_t findFirst(std::string_view text, std::string_view what, std::size_t from = 0);
std::size_t findLast(std::string_view text, std::string_view what);

} // namespace fenlo::hub::templates
