#include "meeting/MeetingExport.h"

#include "base/Background.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/MainQueue.h"
#include "base/WriteFault.h"

#include <cerrno>

namespace fenlo {

void exportMeeting(const std::string& text, const std::filesystem::path& file, Background& background,
                   MainQueue& mainQueue, std::function<void(MeetingNotice)> done) {
    background.run([=, &mainQueue, done = std::move(done)](std::stop_token) {
        const std::string fault = files::writeAtomically(file, text) ? "" : files::writeFault(errno);
        if (!fault.empty())
            logError("{} could not be written: {}", file.string(), fault);
        mainQueue.post([=] {
            const std::string name = file.filename().string();
            if (fault.empty())
                done({.kind = MeetingNotice::Kind::good, .text = "Exported to " + name + ".", .canClose = true});
            else
                done({.kind = MeetingNotice::Kind::error,
                      .text = name + " could not be written, because " + fault + "; the meeting is as it was.",
                      .canClose = true});
        });
    });
}

} // namespace fenlo
