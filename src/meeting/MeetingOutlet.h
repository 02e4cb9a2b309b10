#pragma once

#include "meeting/EmailStatus.h"
#include "meeting/MeetingNotice.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace fenlo {

class Background;
class MainQueue;

/// The ways by which a meeting leaves its screen, the mail and the file, with what is told of them there.
///
/// Threads:  main thread only. Files are written on workers.
/// Errors:   told by notice().
class MeetingOutlet {
public:
    using MailDone = std::function<void(const MailOutcome& outcome)>;
    using Exporter = std::function<void(const std::filesystem::path& file)>;

    /// All of them outlive the outlet, and the references the background's tasks.
    struct Services {
        MainQueue& mainQueue;
        Background& background;
        const std::string& primaryRecipient; // empty without one
        std::vector<std::string>& additionalRecipients;
        std::function<void(MailDone done)> sendMail;
        std::function<std::string()> text; // as a file has it
        std::function<void()> changed;
    };

    explicit MeetingOutlet(Services services) : m_services(std::move(services)) {}
    MeetingOutlet(const MeetingOutlet&) = delete;
    MeetingOutlet& operator=(const MeetingOutlet&) = delete;

    /// The screen shows another meeting: nothing is told of the last one any more.
    void reset();

    EmailStatus emailStatus() const { return m_emailStatus; }
    /// Sends the mail; one at a time.
    void email();

    std::string recipientsText() const; // "Email to: ann@example.com +2 more"
    const std::string& primaryRecipient() const { return m_services.primaryRecipient; }
    const std::vector<std::string>& additionalRecipients() const { return m_services.additionalRecipients; }
    bool showRecipients() const { return m_showRecipients; }
    void setShowRecipients(bool show);
    const std::string& newRecipient() const { return m_newRecipient; }
    void setNewRecipient(const std::string& typed) { m_newRecipient = typed; }
    /// Nothing happens when what was typed is no address, or one that is there already.
    void addRecipient();
    void removeRecipient(const std::string& address);

    /// What writes the meeting into the file that the user is asked for: as it is when the file is chosen, or as it is
    /// now where another meeting is shown by then.
    Exporter exporter();

    const MeetingNotice& notice() const { return m_notice; }
    void tell(MeetingNotice notice);

private:
    void finishEmail(const MailOutcome& outcome);

    const Services m_services;
    EmailStatus m_emailStatus = EmailStatus::idle;
    bool m_showRecipients = false;
    std::string m_newRecipient;
    MeetingNotice m_notice;
    std::shared_ptr<const bool> m_shown = std::make_shared<const bool>(true); // one for each meeting
};

} // namespace fenlo
