#include "platform/linux/desktop/session/ShowInFolder.h"

#include "base/Deadline.h"
#include "base/Log.h"
#include "base/Url.h"
#include "platform/linux/desktop/DBusConnection.h"
#include "platform/linux/desktop/session/StartProgram.h"

namespace fenlo {

namespace {

constexpr double managerLimit = 3; // seconds for the file manager to answer

bool showByFileManager(const std::filesystem::path& file, std::stop_token stop) {
    const GlibObject<GCancellable> cancel(g_cancellable_new());
    const std::stop_callback onStop(stop, [&] { g_cancellable_cancel(cancel.get()); });
    std::string error;
    const std::string address = DBusConnection::addressOf(G_BUS_TYPE_SESSION, cancel.get());
    const auto bus = address.empty() ? std::nullopt : DBusConnection::open(address, cancel.get(), error);
    if (!bus)
        return false;
    const std::string uri = "file://" + url::percentEncode(file.string(), "/");
    const char* const uris[] = {uri.c_str(), nullptr};
    return bus->call({"org.freedesktop.FileManager1", "/org/freedesktop/FileManager1"},
                     {"org.freedesktop.FileManager1", "ShowItems", g_variant_new("(^ass)", uris, "")},
                     deadlineAfter(managerLimit)) != nullptr;
}

} // namespace

void showInFolder(const std::filesystem::path& file, std::stop_token stop) {
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored) || showByFileManager(file, stop) || stop.stop_requested())
        return;
    if (!startProgram("xdg-open", file.parent_path().string()))
        logInfo("Cannot show a folder: is xdg-open installed?");
}

} // namespace fenlo
