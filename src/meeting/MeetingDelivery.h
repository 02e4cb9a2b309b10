#pragma once

#include "meeting/MeetingMail.h"

#include <functional>
#include <stop_token>
#include <string>

namespace fenlo {

class Clock;
class Keychain;
class MailProgram;
class MeetingNotesWriter;

/// Has the service of the deployment send a mail; true when it took it. Blocks. An empty function stands for no
/// service.
using ServiceMail = std::function<bool(const MeetingMail&, std::stop_token)>;

/// What became of a mail.
struct MailOutcome {
    enum class Kind {
        sent,   // the service took it
        opened, // it lies in the user's mail program, ready to be sent
        failed,
    };
    Kind kind = Kind::failed;
    std::string line; // one sentence for the screen; of a failure, with a remedy

    bool isSent() const { return kind == Kind::sent; }
};

/// Mails meetings: by the service where there is one and the user is signed in to it, and else by the user's own mail
/// program.
///
/// Threads: workers; every operation blocks.
/// Errors:  none thrown; a failure is in the outcome, and in the log.
class MeetingDelivery {
public:
    /// All outlive the delivery.
    struct Services {
        Keychain& keychain;
        MeetingNotesWriter& writer;
        const Clock& clock;
        ServiceMail serviceMail;            // may be empty
        MailProgram* mailProgram = nullptr; // null for none: without a service there is no mail then
    };

    explicit MeetingDelivery(Services services) : m_services(std::move(services)) {}

    /// The address that the user signed in with; empty when there is none.
    std::string userAddress() const;
    /// Whether a mail may go out without a hand of the user's, so that the countdown may run.
    bool sendsByItself() const;

    MailOutcome sendEnhancedNotesEmail(const NotesMail& mail, std::stop_token stop);
    MailOutcome sendMeetingEmail(const TranscriptMail& mail, std::stop_token stop);
    MailOutcome sendTranscriptionEmail(const TranscriptionMail& mail, std::stop_token stop);

private:
    struct Kind; // of a mail

    /// Whether the service sends this user's mails, rather than the mail program.
    bool isService(const std::string& user) const;
    bool hasRoad(const std::string& user) const;
    /// `file` is the saved meeting; empty for none.
    MailOutcome send(MeetingMail mail, const std::filesystem::path& file, const Kind& kind, std::stop_token stop);
    MailOutcome openInMailProgram(const MeetingMail& mail, const std::filesystem::path& file, const Kind& kind,
                                  std::stop_token stop);

    Services m_services;
};

} // namespace fenlo
