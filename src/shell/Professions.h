#pragma once

#include <span>
#include <string>

namespace fenlo {

/// A choice of the profession lists.
struct ProfessionChoice {
    const char* key;   // what the settings hold
    const char* label; // what people read
};

/// In the order of the lists.
std::span<const ProfessionChoice> professionChoices();

/// The label of a profession; an empty key counts as "other", and an unknown one is its own label.
std::string professionLabel(const std::string& key);

} // namespace fenlo
