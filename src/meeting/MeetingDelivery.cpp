#include "meeting/MeetingDelivery.h"

#include "account/AccountItems.h"
#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "meeting/MeetingNotesWriter.h"
#include "meeting/Recipients.h"
#include "platform/MailProgram.h"
#include "settings/Keychain.h"

namespace fenlo {

/// How the log names a mail.
struct MeetingDelivery::Kind {
    const char* name;
    const char* nameWithoutUser;
    bool tellsAllRecipients; // or only the user
};

namespace {

std::vector<std::string> allRecipients(const MeetingMail& mail) {
    std::vector<std::string> all = mail.additionalRecipients;
    if (!mail.email.empty())
        all.insert(all.begin(), mail.email);
    return all;
}

std::string openedLine(const ReadableMail& mail, const std::filesystem::path& file) {
    std::string line = "Your mail program has the mail, ready for you to send.";
    if (!mail.isWhole)
        line += file.empty() ? " Its end is cut off." : " Its end is cut off; all of it is in " + file.string() + ".";
    return line;
}

} // namespace

std::string MeetingDelivery::userAddress() const {
    return m_services.keychain.load(accountItem::userEmail).value_or("");
}

bool MeetingDelivery::sendsByItself() const {
    return isService(userAddress());
}

bool MeetingDelivery::isService(const std::string& user) const {
    return m_services.serviceMail && !user.empty();
}

bool MeetingDelivery::hasRoad(const std::string& user) const {
    return isService(user) || m_services.mailProgram;
}

MailOutcome MeetingDelivery::sendEnhancedNotesEmail(const NotesMail& mail, std::stop_token stop) {
    return send(composeMail(mail), mail.file, {"Enhanced notes email", "Meeting email", true}, stop);
}

MailOutcome MeetingDelivery::sendMeetingEmail(const TranscriptMail& mail, std::stop_token stop) {
    const std::string user = userAddress();
    const std::string clean = cleanTranscript(mail.transcript);
    // A file that begins with its notes needs no second summary in a text that the user reads over.
    const bool isSummedUp = !isService(user) && clean.starts_with("## ");
    std::optional<BasicSummary> summary;
    if (hasRoad(user) && !isSummedUp)
        summary = m_services.writer.basicSummary(clean, stop);
    return send(composeMail(mail, summary, m_services.clock.wallTime()), mail.file,
                {"Meeting email", "Meeting email", false}, stop);
}

MailOutcome MeetingDelivery::sendTranscriptionEmail(const TranscriptionMail& mail, std::stop_token stop) {
    return send(composeMail(mail), mail.file, {"Transcription email", "Transcription email", false}, stop);
}

MailOutcome MeetingDelivery::send(MeetingMail mail, const std::filesystem::path& file, const Kind& kind,
                                  std::stop_token stop) {
    mail.email = userAddress();
    mail.additionalRecipients = cleanRecipients(mail.additionalRecipients, mail.email);
    if (!hasRoad(mail.email)) {
        logError("{}: no user email", kind.nameWithoutUser);
        return {MailOutcome::Kind::failed,
                "Nobody is signed in to send the mail; sign in, or copy the text into a mail."};
    }
    if (!isService(mail.email))
        return openInMailProgram(mail, file, kind, stop);
    const bool isAccepted = m_services.serviceMail(mail, stop);
    const std::string recipients = text::join(allRecipients(mail), ", ");
    logInfo("{} {} to {}", kind.name, isAccepted ? "sent" : "failed",
            kind.tellsAllRecipients ? recipients : mail.email);
    if (!isAccepted)
        return {MailOutcome::Kind::failed, "The mail could not be sent; check the connection, and try again."};
    return {MailOutcome::Kind::sent, "Sent to " + recipients + "."};
}

MailOutcome MeetingDelivery::openInMailProgram(const MeetingMail& mail, const std::filesystem::path& file,
                                               const Kind& kind, std::stop_token stop) {
    const ReadableMail readable = readableMail(mail, file.filename().string());
    const MailDraft draft{allRecipients(mail), mail.subject, readable.text, file};
    if (auto fault = m_services.mailProgram->open(draft, stop)) {
        logError("{} was not opened in a mail program: {}", kind.name, *fault);
        return {MailOutcome::Kind::failed, std::move(*fault)};
    }
    logInfo("{} opened in the mail program", kind.name);
    return {MailOutcome::Kind::opened, openedLine(readable, file)};
}

} // namespace fenlo
