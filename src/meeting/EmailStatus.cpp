#include "meeting/EmailStatus.h"

namespace fenlo {

std::string emailStatusText(EmailStatus status) {
    switch (status) {
    case EmailStatus::sending:
        return "Sending...";
    case EmailStatus::sent:
        return "Sent!";
    case EmailStatus::idle:
    case EmailStatus::failed:
        break;
    }
    return {};
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
        return {.kind = MeetingNotice::Kind::good, .text = outcome.line, .canClose = true};
    case MailOutcome::Kind::failed:
        break;
    }
    return {.kind = MeetingNotice::Kind::error, .text = outcome.line, .canClose = true};
}

std::string recipientsText(const std::string& primary, std::size_t additional) {
    const std::string more = additional == 0 ? "" : " +" + std::to_string(additional) + " more";
    return "Email to: " + (primary.empty() ? "you" : primary) + more;
}

} // namespace fenlo
