#pragma once

#include <string>

namespace fenlo {

/// A message in place, beside what it is about.
struct Note {
    enum class Kind { none, info, good, warning, error };
    Kind kind = Kind::none;
    std::string text = {}; // one sentence
};

} // namespace fenlo
