#pragma once

#include "meeting/MeetingNotice.h"

#include <filesystem>
#include <functional>
#include <string>

namespace fenlo {

class Background;
class MainQueue;

/// Writes a meeting's text on a worker, and tells on the main thread what came of it.
void exportMeeting(const std::string& text, const std::filesystem::path& file, Background& background,
                   MainQueue& mainQueue, std::function<void(MeetingNotice)> done);

} // namespace fenlo
