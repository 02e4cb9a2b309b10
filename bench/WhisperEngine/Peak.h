#pragma once

namespace fenlo::whisper {

/// What one thread of this processor can do at most with the settled instruction set, measured now by loops that do
/// nothing else; a kernel's share of it says what there is to gain. Operations are multiplications and additions.
struct Peak {
    double bytes = 0;  // operations a second on 8-bit values
    double floats = 0; // operations a second on 32-bit floats
    double memory = 0; // bytes read a second from an array that no cache of one core holds
};
const Peak& peak();

} // namespace fenlo::whisper
