#pragma once

#include <string>
#include <vector>

namespace fenlo {

/// What was found out about one thing that a dictation needs.
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

/// "ok", "limited" or "broken".
const char* stateText(Diagnosis::State state);

/// For people: a line for each, and one for its remedy.
std::string reportText(const std::vector<Diagnosis>& findings);

/// For programs: a JSON list; and back. Nothing of a text in another form.
std::string reportJson(const std::vector<Diagnosis>& findings);
std::vector<Diagnosis> readReport(const std::string& json);

} // namespace fenlo
