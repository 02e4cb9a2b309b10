#include "hub/PartialFile.h"

#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"
#include "base/Url.h"
#include "hub/HubPaths.h"

#include <cerrno>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace fenlo::hub {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t maxNameBytes = 80;

/// A readable name for the partial of a path, short enough for every file system. The hash keeps shortened names
/// apart.
fs::path partialPath(const fs::path& folder, const RepoFile& file) {
    std::string name = url::percentEncode(text::replaceAll(file.path, "/", "+"), "");
    if (name.size() > maxNameBytes)
        name.resize(maxNameBytes);
    std::uint64_t hash = 14695981039346656037u; // FNV-1a
    for (const char c : file.path)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
    return folder / partialFolderName / (name + "-" + std::to_string(hash));
}

fs::path recordPath(const fs::path& partial) {
    return partial.string() + ".json";
}

nlohmann::json recordOf(const RepoFile& file, const std::string& entityTag) {
    return {{"path", file.path}, {"size", file.size}, {"hash", contentHash(file)}, {"etag", entityTag}};
}

/// The ETag of the partial, when it belongs to this file and the whole can be checked; otherwise "".
std::string recordedTag(const fs::path& partial, const RepoFile& file) {
    const auto record = parseJson(files::read(recordPath(partial)).value_or(""));
    if (!record.is_object() || !record.contains("etag") || !record["etag"].is_string() || contentHash(file).empty())
        return {};
    const std::string tag = record["etag"];
    return record == recordOf(file, tag) ? tag : "";
}

bool isFull(int error) {
    return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

} // namespace

PartialFile::PartialFile(fs::path folder, RepoFile file)
    : m_folder(std::move(folder)), m_file(std::move(file)), m_path(partialPath(m_folder, m_file)), m_descriptor(open()),
      m_entityTag(recordedTag(m_path, m_file)) {
    struct stat found {};
    if (m_entityTag.empty() || ::fstat(m_descriptor.number(), &found) != 0 ||
        static_cast<std::uint64_t>(found.st_size) > m_file.size)
        begin("");
}

int PartialFile::open() const {
    std::error_code error;
    fs::create_directory(m_folder / partialFolderName, error);
    placeIn(m_folder, fs::path(partialFolderName) / m_path.filename());
    const int descriptor = ::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_APPEND, 0600);
    if (descriptor < 0)
        fail(errno);
    return descriptor;
}

std::uint64_t PartialFile::sizeOf(const fs::path& folder, const RepoFile& file) {
    const fs::path partial = partialPath(folder, file);
    std::error_code error;
    const std::uint64_t size = fs::file_size(partial, error);
    return error || size > file.size || recordedTag(partial, file).empty() ? 0 : size;
}

void PartialFile::discard(const fs::path& folder, const RepoFile& file) {
    const fs::path partial = partialPath(folder, file);
    files::removeQuietly(recordPath(partial));
    files::removeQuietly(partial);
}

bool PartialFile::readInto(ContentCheck& check, std::stop_token stop) {
    std::string piece(1u << 20u, '\0');
    for (off_t at = 0; !stop.stop_requested();) {
        const ssize_t size = ::pread(m_descriptor.number(), piece.data(), piece.size(), at);
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            fail(errno);
        if (size == 0)
            return true;
        check.add(std::string_view(piece).substr(0, static_cast<std::size_t>(size)));
        at += size;
    }
    return false;
}

void PartialFile::begin(const std::string& entityTag) {
    files::removeQuietly(recordPath(m_path)); // first: a record must never lie beside the bytes of another file
    m_entityTag.clear();
    if (::ftruncate(m_descriptor.number(), 0) != 0)
        fail(errno);
    if (entityTag.empty())
        return;
    if (!files::writeAtomically(recordPath(m_path), writeJson(recordOf(m_file, entityTag))))
        fail(errno);
    m_entityTag = entityTag;
}

void PartialFile::append(std::string_view bytes) {
    if (!writeAll(m_descriptor.number(), bytes))
        fail(errno);
}

void PartialFile::moveToPlace() {
    if (::fsync(m_descriptor.number()) != 0)
        fail(errno);
    const fs::path place = placeIn(m_folder, m_file.path);
    std::error_code error;
    fs::create_directories(place.parent_path(), error);
    fs::rename(m_path, place, error);
    if (error)
        fail(error.value());
    files::removeQuietly(recordPath(m_path));
}

void PartialFile::fail(int error) const {
    if (isFull(error)) {
        std::error_code ignored;
        const std::uint64_t there = fs::file_size(m_path, ignored);
        throw diskFull(m_folder, shown(m_file.path),
                       ignored || there > m_file.size ? m_file.size : m_file.size - there);
    }
    throw HubError(HubError::Kind::disk, "cannot write " + shown(m_file.path) + " into " + m_folder.string() + ": " +
                                             text::lower(std::generic_category().message(error)) +
                                             "; check the folder's permissions");
}

HubError diskFull(const fs::path& folder, const std::string& what, std::uint64_t needed) {
    std::error_code error;
    const fs::space_info space = fs::space(folder, error);
    return {HubError::Kind::diskFull, "the disk has no room for " + what + ": " + sizeText(needed) +
                                          " more are needed in " + folder.string() +
                                          (error ? "" : ", " + sizeText(space.available) + " are free") +
                                          "; free some space and try again, what has come is kept"};
}

} // namespace fenlo::hub
