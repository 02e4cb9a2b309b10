#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Lists of terms as the text that people edit.
///
/// Threads: any; pure.
namespace fenlo {

using Terms = std::vector<std::string>;

/// The terms with commas between them.
std::string joinVocabulary(const Terms& terms);

/// The pieces between commas and newlines, without the blanks around them and without empty ones. A term of `known`
/// that holds a comma itself stays whole where its pieces follow each other.
Terms parseVocabulary(std::string_view text, const Terms& known = {});

/// The list after the user edited its text: `shown` is the list whose text they were given, `now` the list at this
/// moment. Terms that came meanwhile are kept; an unedited text leaves the list as it is.
Terms editedVocabulary(std::string_view text, const Terms& shown, const Terms& now);

} // namespace fenlo
