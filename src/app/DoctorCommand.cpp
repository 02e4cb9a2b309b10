#include "app/Commands.h"
#include "app/Diagnosis.h"
#include "app/ExitStatus.h"
#include "app/StandardOutput.h"
#include "base/Json.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

const char* mark(Diagnosis::State state) {
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

void printForPeople(const std::vector<Diagnosis>& findings) {
    for (const Diagnosis& found : findings) {
        printFormatted("%-8s %-16s %s\n", mark(found.state), found.subject.c_str(), found.finding.c_str());
        if (!found.remedy.empty())
            printFormatted("%-8s %-16s → %s\n", "", "", found.remedy.c_str());
    }
}

void printForPrograms(const std::vector<Diagnosis>& findings) {
    auto list = nlohmann::ordered_json::array();
    for (const Diagnosis& found : findings)
        list.push_back({{"subject", found.subject},
                        {"state", mark(found.state)},
                        {"finding", found.finding},
                        {"remedy", found.remedy}});
    print(writeJson(list, 2) + "\n");
}

int runDoctor(bool json) {
    const std::vector<Diagnosis> findings = examine();
    if (json)
        printForPrograms(findings);
    else
        printForPeople(findings);
    const bool broken = std::any_of(findings.begin(), findings.end(),
                                    [](const Diagnosis& found) { return found.state == Diagnosis::State::broken; });
    return broken ? exitStatus::failed : exitStatus::ok;
}

} // namespace

Command addDoctorCommand(CLI::App& cli) {
    const auto json = std::make_shared<bool>(false);
    CLI::App& command =
        *cli.add_subcommand("doctor", "Tell what works on this desktop, and the remedy for what does not");
    command.add_flag("--json", *json, "print a JSON list of the checks");
    return {&command, [json] { return runDoctor(*json); }};
}

} // namespace fenlo
