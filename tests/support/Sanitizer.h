#pragma once

namespace fenlo::test {

/// Whether a sanitizer watches the program, which keeps freed memory for a while.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

} // namespace fenlo::test
