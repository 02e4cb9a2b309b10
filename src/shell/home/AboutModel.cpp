#include "shell/home/AboutModel.h"

#include "base/Background.h"
#include "base/Log.h"
#include "base/Url.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

constexpr double reportCopiedFor = 2.0; // seconds

std::string things(std::size_t count, std::size_t all, const char* what) {
    return std::to_string(count) + " of " + std::to_string(all) + (count == 1 ? " checks is " : " checks are ") + what;
}

} // namespace

AboutModel::AboutModel(AboutServices services) : m_services(std::move(services)) {}

std::string AboutModel::logFile() const {
    return fenlo::logFile().string();
}

void AboutModel::showLog() {
    m_services.openUrl("file://" + url::percentEncode(logFile(), "/-._~"));
}

void AboutModel::showNotices() {
    m_services.openUrl("file://" + url::percentEncode(notices(), "/-._~"));
}

void AboutModel::examine() {
    if (std::exchange(m_check, Check::running) == Check::running)
        return;
    m_services.background.run(
        [examine = m_services.examine, &queue = m_services.queue,
         tell = m_lifetime.bind([this](auto findings) { finish(std::move(findings)); })](std::stop_token stop) {
            queue.post([tell, findings = examine(std::move(stop))]() mutable { tell(std::move(findings)); });
        });
    m_changes.tell();
}

void AboutModel::finish(std::optional<std::vector<Diagnosis>> findings) {
    m_check = findings ? Check::done : Check::failed;
    if (findings)
        m_findings = std::move(*findings);
    m_changes.tell();
}

std::string AboutModel::summary() const {
    if (m_check == Check::running)
        return "Looking at keys, microphone, services and files…";
    if (m_check == Check::failed)
        return "The check did not come to an end; run `fenlo doctor` in a terminal.";
    if (m_check == Check::idle)
        return "";
    const auto count = [this](Diagnosis::State state) {
        return static_cast<std::size_t>(std::ranges::count(m_findings, state, &Diagnosis::state));
    };
    if (const std::size_t broken = count(Diagnosis::State::broken))
        return things(broken, m_findings.size(), "broken: no dictation works until that is mended.");
    if (const std::size_t limited = count(Diagnosis::State::limited))
        return things(limited, m_findings.size(), "limited; dictation works.");
    return "Everything works.";
}

std::string AboutModel::report() const {
    return "Fenlo " + version() + "\n" + system() + "\n\n" + reportText(m_findings);
}

void AboutModel::copyReport() {
    m_services.copyToClipboard(report());
    m_copiedTimer = m_services.queue.postAfter(reportCopiedFor, [this] {
        m_copiedTimer = Timer();
        m_changes.tell();
    });
    m_changes.tell();
}

} // namespace fenlo
