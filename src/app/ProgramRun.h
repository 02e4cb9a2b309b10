#pragma once

#include <functional>

namespace fenlo {

class ThreadBackground;

/// A program with workers, from its launch to its end. All run on the main thread.
struct ProgramSteps {
    std::function<void()> launch;
    std::function<void()> loop;      // until the user quits
    std::function<void()> terminate; // after the loop
    std::function<void()> release;   // frees the workers that wait for the main thread or for the user
};

/// Takes the steps. However they end, by return or by exception, the workers are asked to stop, released and joined
/// before it does, so that what they use may go after it. They are asked first: who waited for a key that does not come
/// any more must not go on as if there were none.
void runProgram(const ProgramSteps& steps, ThreadBackground& background);

} // namespace fenlo
