#pragma once

#include <cstdint>

namespace fenlo::hub {

/// A token that a model has found in a word.
struct ModelToken {
    int id;
    std::uint32_t begin; // bytes of the word
    std::uint32_t end;
};

} // namespace fenlo::hub
