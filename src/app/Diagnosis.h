#pragma once

#include <string>
#include <vector>

namespace fenlo {

/// What `fenlo doctor` found out about one thing.
struct Diagnosis {
    enum class State {
        works,
        limited, // a dictation works without it
        broken,  // no dictation works
    };
    std::string subject;
    State state = State::works;
    std::string finding;
    std::string remedy; // empty when it works
};

/// Looks at everything a dictation needs. Takes a few seconds at most.
std::vector<Diagnosis> examine();

} // namespace fenlo
