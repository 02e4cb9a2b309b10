#include "app/Commands.h"
#include "app/Diagnosis.h"
#include "app/ExitStatus.h"
#include "app/StandardOutput.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

namespace fenlo {

namespace {

int runDoctor(bool json) {
    const std::vector<Diagnosis> findings = examine();
    print(json ? reportJson(findings) : reportText(findings));
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
