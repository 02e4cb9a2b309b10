#include "meeting/RunningFolder.h"

#include "base/Dates.h"
#include "base/Files.h"
#include "media/SpeechRate.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <sys/stat.h>
#include <unistd.h>

namespace fenlo::runningFolder {

namespace fs = std::filesystem;

namespace {

constexpr int mostChunkNumber = 10'000'000;

std::string chunkPrefix(const fs::path& folder) {
    return folder.filename().string().substr(prefix.size()) + "_chunk-";
}

} // namespace

std::string nameOf(std::chrono::system_clock::time_point start) {
    return std::string(prefix) + dates::localStamp(start);
}

std::optional<Made> make(const fs::path& archive, std::chrono::system_clock::time_point start) {
    files::makePrivateDirectory(archive);
    const std::string name = nameOf(start);
    constexpr int most = 1000;
    for (int number = 1; number <= most; ++number) {
        fs::path folder = archive / (number == 1 ? name : name + "_" + std::to_string(number));
        if (::mkdir(folder.c_str(), 0700) != 0) {
            if (errno == EEXIST)
                continue;
            break;
        }
        if (auto journal = LockedFile::make(folder / journalName))
            return Made{std::move(folder), std::move(*journal)};
        const int reason = errno;
        // Another process that starts took the new folder for one left behind: it has removed it, or looks into it.
        if (reason == ENOENT || reason == EWOULDBLOCK)
            continue;
        ::rmdir(folder.c_str());
        errno = reason;
        break;
    }
    return {};
}

std::vector<fs::path> in(const fs::path& archive, std::string_view itsPrefix) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(archive, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unreadable;
        if (entry->path().filename().string().starts_with(itsPrefix) && !entry->is_symlink(unreadable) &&
            entry->is_directory(unreadable))
            found.push_back(entry->path());
    }
    std::ranges::sort(found);
    return found;
}

std::optional<std::chrono::system_clock::time_point> startIn(const fs::path& folder) {
    constexpr std::size_t stampLength = std::string_view("2026-11-15_09-30-05").size();
    const std::string name = folder.filename().string();
    return dates::parseLocalStamp(std::string_view(name).substr(prefix.size()).substr(0, stampLength));
}

std::optional<LockedFile> takeOver(const fs::path& folder) {
    const fs::path journal = folder / journalName;
    if (auto file = LockedFile::open(journal, LockedFile::Sharing::exclusive))
        return file;
    if (errno == ENOENT && ::rmdir(folder.c_str()) != 0 && !soundIn(folder).empty())
        return LockedFile::make(journal);
    return {};
}

fs::path chunkFile(const fs::path& folder, int number) {
    return folder / (chunkPrefix(folder) + std::to_string(number) + ".wav");
}

std::map<int, double> soundIn(const fs::path& folder) {
    const std::string expected = chunkPrefix(folder);
    std::map<int, double> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        int number = 0;
        if (!name.starts_with(expected) ||
            std::from_chars(name.data() + expected.size(), name.data() + name.size(), number).ec != std::errc() ||
            number < 0 || number > mostChunkNumber || entry->path() != chunkFile(folder, number))
            continue;
        std::error_code unreadable;
        if (!fs::is_regular_file(entry->symlink_status(unreadable)))
            continue;
        constexpr std::uintmax_t header = 80, bytesPerSecond = sizeof(float) * speechRate;
        if (const std::uintmax_t size = entry->file_size(unreadable); !unreadable && size > header)
            found[number] = static_cast<double>(size) / bytesPerSecond;
    }
    return found;
}

} // namespace fenlo::runningFolder
