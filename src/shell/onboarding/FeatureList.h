#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

struct Feature {
    std::string title;
    std::string text;
};

/// What the program can do for someone of this profession, the most useful first. `hotkey` is the key's label.
std::vector<Feature> featureList(std::string_view profession, const std::string& hotkey);

} // namespace fenlo
