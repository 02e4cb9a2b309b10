#include "shell/Diagnosis.h"

#include "base/Json.h"

#include <fmt/core.h>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

std::string member(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

Diagnosis::State stateOf(const std::string& text) {
    for (const auto state : {Diagnosis::State::works, Diagnosis::State::limited})
        if (text == stateText(state))
            return state;
    return Diagnosis::State::broken;
}

} // namespace

const char* stateText(Diagnosis::State state) {
    switch (state) {
    case Diagnosis::State::works:
        return "ok";
    case Diagnosis::State::limited:
        return "limited";
    case Diagnosis::State::broken:
        break;
    }
    return "broken";
}

std::string reportText(const std::vector<Diagnosis>& findings) {
    std::string out;
    for (const Diagnosis& found : findings) {
        out += fmt::format("{:<8} {:<16} {}\n", stateText(found.state), found.subject, found.finding);
        if (!found.remedy.empty())
            out += fmt::format("{:<8} {:<16} → {}\n", "", "", found.remedy);
    }
    return out;
}

std::string reportJson(const std::vector<Diagnosis>& findings) {
    auto list = nlohmann::ordered_json::array();
    for (const Diagnosis& found : findings)
        list.push_back({{"subject", found.subject},
                        {"state", stateText(found.state)},
                        {"finding", found.finding},
                        {"remedy", found.remedy}});
    return writeJson(list, 2) + "\n";
}

std::vector<Diagnosis> readReport(const std::string& json) {
    const nlohmann::json list = parseJson(json);
    std::vector<Diagnosis> findings;
    if (list.is_array())
        for (const nlohmann::json& found : list)
            if (found.is_object())
                findings.push_back({member(found, "subject"), stateOf(member(found, "state")), member(found, "finding"),
                                    member(found, "remedy")});
    return findings;
}

} // namespace fenlo
