#pragma once

#include <cstddef>

namespace fenlo::hub {

/// A part of a text.
struct TextRange {
    std::size_t begin; // bytes
    std::size_t end;

    std::size_t size() const { return end - begin; }
    bool operator==(const TextRange&) const = default;
};

} // namespace fenlo::hub
