#include "account/UpdateFolder.h"

#include "base/Files.h"
#include "base/Hexadecimal.h"

#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr char packagePrefix[] = "fenlo_";

bool isOwn(const struct stat& status) {
    return status.st_uid == ::geteuid();
}

/// Whether no other user can rename or remove what lies in this folder.
bool keepsNames(const fs::path& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || (!isOwn(status) && status.st_uid != 0))
        return false;
    const bool isSticky = (status.st_mode & S_ISVTX) != 0;
    const bool hasOtherWriters =
        (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && status.st_gid != ::getegid());
    return isSticky || !hasOtherWriters;
}

bool isOursAlone(const fs::path& folder) {
    struct stat status {};
    if (::lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || !isOwn(status) ||
        (status.st_mode & 077) != 0)
        return false;
    std::error_code error;
    fs::path place = fs::canonical(folder, error);
    while (!error && place != place.parent_path()) {
        place = place.parent_path();
        if (!keepsNames(place))
            return false;
    }
    return !error;
}

std::string startOf(std::string_view signature) {
    constexpr std::size_t bytes = 8;
    return hexadecimal(std::as_bytes(std::span(signature.substr(0, bytes))));
}

/// The version in the name of a package or of a part of one: "fenlo_1.4.0_amd64.deb".
std::optional<ReleaseVersion> versionIn(const std::string& name) {
    if (!name.starts_with(packagePrefix))
        return std::nullopt;
    const std::size_t begin = sizeof packagePrefix - 1;
    return ReleaseVersion::parse(std::string_view(name).substr(begin, name.find('_', begin) - begin));
}

} // namespace

void UpdateFolder::prepare() const {
    files::makePrivateDirectory(m_folder.parent_path());
    files::makePrivateDirectory(m_folder);
    if (!isOursAlone(m_folder))
        throw UpdateFault("Other users of this computer could change a package in " + m_folder.string() +
                          ", so none is downloaded; correct the permissions of the folder and of those above it.");
}

fs::path UpdateFolder::packageFile(const UpdateOffer& offer) const {
    return m_folder / (packagePrefix + offer.version.text() + "_" + offer.package->architecture + ".deb");
}

fs::path UpdateFolder::partialFile(const UpdateOffer& offer) const {
    return m_folder / (packagePrefix + offer.version.text() + "_" + startOf(offer.package->signature) + ".part");
}

void UpdateFolder::removeOthers(const UpdateOffer& offer) const {
    removeUnless([&](const fs::path& file) { return file == packageFile(offer) || file == partialFile(offer); });
}

void UpdateFolder::removeUpTo(const ReleaseVersion& installed) const {
    removeUnless([&](const fs::path& file) {
        const auto version = versionIn(file.filename().string());
        return version && *version > installed;
    });
}

template <typename Keep>
void UpdateFolder::removeUnless(Keep keep) const {
    std::error_code error;
    for (fs::directory_iterator entry(m_folder, error), end; !error && entry != end; entry.increment(error))
        if (!keep(entry->path()))
            files::removeQuietly(entry->path());
}

} // namespace fenlo
