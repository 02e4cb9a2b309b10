#pragma once

#include <string>

namespace fenlo {

/// A language model's answer to a transcript.
struct Rewrite {
    std::string text;
    bool wasRewritten = false; // the answer was accepted; otherwise `text` is the transcript as it came
};

} // namespace fenlo
