#pragma once

namespace fenlo {

/// Hertz: the rate at which speech is kept, sent, measured and recognised.
inline constexpr int speechRate = 16000;

} // namespace fenlo
