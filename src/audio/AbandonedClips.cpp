#include "audio/AbandonedClips.h"

#include "audio/ClipPreparation.h"
#include "base/Files.h"
#include "base/LockedFile.h"

#include <algorithm>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds newest{10};
constexpr std::string_view extension = ".wav";

bool isUuid(std::string_view text) {
    constexpr std::string_view shape = "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";
    return std::ranges::equal(text, shape, [](char c, char expected) {
        return expected == '-' ? c == '-' : (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
    });
}

bool isClipName(std::string_view name) {
    if (!name.starts_with(preparedClipPrefix) || !name.ends_with(extension))
        return false;
    name.remove_prefix(preparedClipPrefix.size());
    name.remove_suffix(extension.size());
    return isUuid(name);
}

bool isOwnAndOlder(const fs::path& file, std::chrono::system_clock::time_point limit) {
    struct stat status {};
    return ::lstat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
           std::chrono::system_clock::from_time_t(status.st_mtime) < limit;
}

} // namespace

void removeAbandonedClips(std::chrono::system_clock::time_point now) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(files::temporaryFile("", "").parent_path(), error))
        if (const fs::path& file = entry.path();
            isClipName(file.filename().string()) && isOwnAndOlder(file, now - newest))
            if (LockedFile::open(file, LockedFile::Sharing::exclusive))
                files::removeQuietly(file);
}

} // namespace fenlo
