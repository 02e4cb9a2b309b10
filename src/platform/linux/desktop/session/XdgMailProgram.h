#pragma once

#include "platform/MailProgram.h"
#include "platform/linux/desktop/session/StartedPrograms.h"

namespace fenlo {

/// Opens the desktop's mail program by `xdg-email`, and shows files by the file manager's interface on the session bus,
/// or where no file manager offers that opens their folder.
///
/// The draft is a `mailto:` address, all of whose special bytes are encoded, so nothing in it is an option or reaches a
/// shell. As any argument it is for a moment seen by other users of the machine who list its processes.
class XdgMailProgram final : public MailProgram {
public:
    std::optional<std::string> open(const MailDraft& draft, std::stop_token stop) override;

private:
    StartedPrograms m_programs;
};

} // namespace fenlo
