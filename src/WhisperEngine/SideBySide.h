#pragma once

#include <cstddef>
#include <functional>

namespace fenlo::whisper {

/// Runs `work(index)` for each index on at most `workers` threads, and throws the first failure when all have ended.
void runSideBySide(std::size_t count, std::size_t workers, const std::function<void(std::size_t)>& work);

} // namespace fenlo::whisper
