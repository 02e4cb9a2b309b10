#pragma once

#include <span>

namespace fenlo {

/// A library that the program is built with.
struct Library {
    const char* name;
    const char* licence; // as SPDX names it, where it has a name there
    const char* purpose;
};

/// In the order of their names.
std::span<const Library> libraries();

} // namespace fenlo
