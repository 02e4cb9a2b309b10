#pragma once

namespace fenlo::test {

/// How often `new` was called so far, on any thread of this program.
int allocationCount();

} // namespace fenlo::test
