#pragma once

#include "meeting/MeetingDelivery.h"
#include "meeting/MeetingNotice.h"

#include <cstddef>
#include <string>

namespace fenlo {

/// The mail of a meeting as its button tells of it.
enum class EmailStatus { idle, sending, sent, failed };

/// What the button says in place of its action: "Sending...", then "Sent!". Empty before, and after a failure.
std::string emailStatusText(EmailStatus status);

/// How a mail stands that has this outcome. What lies in the mail program is not sent yet.
EmailStatus statusOf(const MailOutcome& outcome);
/// What is told of it beside the button.
MeetingNotice noticeOf(const MailOutcome& outcome);

/// "Email to: ann@example.com +2 more". A user without an address is "you".
std::string recipientsText(const std::string& primary, std::size_t additional);

} // namespace fenlo
