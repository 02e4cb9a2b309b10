#pragma once

#include <filesystem>
#include <optional>

namespace fenlo {

struct DataContents;

/// Where the keeper lies: beside this program as it is built, or in its folder of libraries as it is installed.
std::filesystem::path clipboardKeeper();

/// Starts the keeper, a small program that goes on answering for the clipboard after this one's end. The content goes
/// to it through memory, never through a file on disk. Nobody waits for its end.
///
/// Threads: any.
/// Errors:  false when it cannot be started.
bool startClipboardKeeper(const std::filesystem::path& program, const DataContents& contents);

/// The keeper's side: what startClipboardKeeper() gave it. Nothing when that is not whole.
std::optional<DataContents> receiveClipboard(int file);

} // namespace fenlo
