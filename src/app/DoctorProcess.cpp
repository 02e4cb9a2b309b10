#include "app/DoctorProcess.h"

#include "base/ChildOutput.h"

namespace fenlo {

namespace {

constexpr double doctorPatience = 60; // seconds

} // namespace

std::optional<std::vector<Diagnosis>> examineApart(std::stop_token stop) {
    // This very program, even if its file was replaced.
    const auto report = outputOf({"/proc/self/exe", "doctor", "--json"}, doctorPatience, std::move(stop));
    auto findings = report ? readReport(report->text) : std::vector<Diagnosis>();
    return findings.empty() ? std::nullopt : std::optional(std::move(findings));
}

} // namespace fenlo
