#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "shell/Diagnosis.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class Background;

/// What the page "About" needs. All of it outlives the model.
struct AboutServices {
    std::string version;
    std::string system;            // "Debian GNU/Linux 12, x11 session"
    std::filesystem::path notices; // the licences' texts; empty where none are installed
    MainQueue& queue;
    Background& background;
    /// Looks at everything a dictation needs, on a worker; takes seconds. Nothing when that is not possible.
    std::function<std::optional<std::vector<Diagnosis>>(std::stop_token)> examine;
    std::function<void(const std::string&)> copyToClipboard;
    std::function<void(const std::string&)> openUrl;
};

/// The program's version, its log, and what works on this desktop.
///
/// Threads: main thread.
class AboutModel {
public:
    enum class Check { idle, running, done, failed };

    explicit AboutModel(AboutServices services);

    std::string version() const { return m_services.version; }
    std::string system() const { return m_services.system; }
    std::string logFile() const;
    void showLog();
    /// The licences' texts; empty where none are installed.
    std::string notices() const { return m_services.notices.string(); }
    void showNotices();

    /// Begins to look, unless that is under way. What was found before stays until it is known anew.
    void examine();
    Check check() const { return m_check; }
    const std::vector<Diagnosis>& findings() const { return m_findings; }
    /// "Everything works.", "2 of 14 things are limited.", in one sentence.
    std::string summary() const;

    /// Copies version, system and findings as a text for a report.
    void copyReport();
    bool isCopied() const { return m_copiedTimer.isSet(); } // a moment ago
    std::string report() const;

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    void finish(std::optional<std::vector<Diagnosis>> findings);

    const AboutServices m_services;
    Check m_check = Check::idle;
    std::vector<Diagnosis> m_findings;
    Changes m_changes;
    Timer m_copiedTimer;
    Lifetime m_lifetime;
};

} // namespace fenlo
