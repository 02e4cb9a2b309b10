#include "meeting/EmailStatus.h"

namespace fenlo {

std::string emailCaption(EmailStatus status, const std::string& action) {
    switch (status) {
    case EmailStatus::sending:
        return "Sending...";
    case EmailStatus::sent:
        return "Sent!";
    case EmailStatus::idle:
    case EmailStatus::failed:
        break;
    }
    return action;
}

EmailStatus statusOf(const MailOutcome& outcome) {
    switch (outcome.kind) {
    case MailOutcome::Kind::sent:
        return EmailStatus::sent;
    case MailOutcome::Kind::opened:
        return EmailStatus::idle;
    case MailOutcome::Kind::failed:
        break;
    }
    return EmailStatus::failed;
}

MeetingNotice noticeOf(const MailOutcome& outcome) {
    switch (outcome.kind) {
    case MailOutcome::Kind::sent:
        return {};
    case MailOutcome::Kind::opened:
        return {MeetingNotice::Kind::good, outcome.line};
    case MailOutcome::Kind::failed:
        break;
    }
    return {MeetingNotice::Kind::error, outcome.line};
}

std::string recipientsText(const std::string& primary, std::size_t additional) {
    const std::string more = additional == 0 ? "" : " +" + std::to_string(additional) + " more";
    return "Email to: " + (primary.empty() ? "you" : primary) + more;
}

} // namespace fenlo
