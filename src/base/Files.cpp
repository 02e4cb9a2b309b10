#include "base/Files.h"

#include "base/Descriptor.h"
#include "base/Environment.h"
#include "base/NeighbourFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace fenlo::files {

namespace fs = std::filesystem;

fs::path homeDirectory() {
    if (const auto home = environment("HOME"); !home.empty())
        return home;
    if (const passwd* entry = ::getpwuid(::getuid()))
        return entry->pw_dir;
    return "/";
}

fs::path dataDirectory() {
    return homeDirectory() / ".fenlo";
}

fs::path cacheDirectory() {
    return fs::path(environment("XDG_CACHE_HOME", homeDirectory() / ".cache")) / "fenlo";
}

bool makePrivateDirectory(const fs::path& directory) {
    std::error_code error;
    fs::create_directories(directory, error);
    const fs::file_status status = fs::status(directory, error);
    if (!fs::is_directory(status))
        return false;
    if ((status.permissions() & fs::perms::sticky_bit) == fs::perms::none)
        fs::permissions(directory, fs::perms::owner_all, error);
    return true;
}

std::optional<std::string> read(const fs::path& file) {
    const Descriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (!opened.isOpen() || ::fstat(opened.number(), &status) != 0)
        return {};
    // One byte more than the file has, which finds its end; a pipe does not tell its size.
    std::string content(static_cast<std::size_t>(status.st_size) + 1, '\0');
    for (std::size_t length = 0;;) {
        if (length == content.size())
            content.resize(2 * length + 4096);
        const ssize_t count = ::read(opened.number(), content.data() + length, content.size() - length);
        if (count < 0 && errno != EINTR)
            return {};
        length += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        if (count == 0) {
            content.resize(length);
            return content;
        }
    }
}

bool writeAtomically(const fs::path& file, std::string_view content) {
    std::error_code error;
    fs::path target = fs::weakly_canonical(file, error);
    if (error)
        target = file;
    mode_t mode = 0600;
    if (struct stat existing{}; ::stat(target.c_str(), &existing) == 0)
        mode = existing.st_mode & 07777;

    NeighbourFile neighbour(target);
    return neighbour.isOpen() && writeAll(neighbour.descriptor(), content) &&
           ::fchmod(neighbour.descriptor(), mode) == 0 && neighbour.commit();
}

bool writeNew(const fs::path& file, std::string_view content) {
    NeighbourFile neighbour(file);
    return neighbour.isOpen() && writeAll(neighbour.descriptor(), content) &&
           neighbour.commit(NeighbourFile::Existing::keep);
}

namespace {

constexpr const char* asideMark = ".damaged-";
constexpr int mostAside = 1000; // files of one second

} // namespace

std::optional<fs::path> setAside(const fs::path& file, std::chrono::system_clock::time_point date) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(date);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    std::array<char, 32> suffix{};
    std::strftime(suffix.data(), suffix.size(), "%Y-%m-%d-%H%M%S", &local);
    const std::string name = file.string() + asideMark + suffix.data();
    for (int number = 1; number <= mostAside; ++number) {
        const fs::path place = number == 1 ? name : name + "-" + std::to_string(number);
        if (renameToFreeName(file, place))
            return place;
        if (errno != EEXIST)
            break;
    }
    return {};
}

std::vector<fs::path> thoseSetAside(const fs::path& file) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(file.parent_path(), error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename().string().starts_with(file.filename().string() + asideMark))
            found.push_back(entry->path());
    std::sort(found.begin(), found.end());
    return found;
}

std::uintmax_t kilobytes(const fs::path& file) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return error ? 0 : size / 1024;
}

void removeQuietly(const fs::path& file) {
    std::error_code ignored;
    fs::remove(file, ignored);
}

fs::path temporaryFile(std::string_view prefix, std::string_view extension) {
    std::error_code error;
    fs::path directory = fs::temp_directory_path(error);
    if (error)
        directory = "/tmp";
    return directory / (std::string(prefix) + makeUuid() + std::string(extension));
}

std::string makeUuid() {
    // One system call; std::random_device reads the processor's slow entropy source, and lists make thousands of ids.
    std::array<unsigned, 4> words{};
    if (::getentropy(words.data(), sizeof words) != 0)
        throw std::system_error(errno, std::generic_category(), "getentropy");
    words[1] = (words[1] & 0xFFFF0FFFu) | 0x00004000u; // version 4
    words[2] = (words[2] & 0x3FFFFFFFu) | 0x80000000u; // variant of RFC 4122
    std::array<char, 37> text{};
    std::snprintf(text.data(), text.size(), "%08X-%04X-%04X-%04X-%04X%08X", words[0], words[1] >> 16,
                  words[1] & 0xFFFFu, words[2] >> 16, words[2] & 0xFFFFu, words[3]);
    return text.data();
}

} // namespace fenlo::files
