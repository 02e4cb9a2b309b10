#pragma once

#include "shell/Diagnosis.h"

#include <vector>

namespace fenlo {

/// Looks at everything a dictation needs. Takes a few seconds at most.
std::vector<Diagnosis> examine();

} // namespace fenlo
