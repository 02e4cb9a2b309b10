#include "media/FileView.h"

#include "media/AudioFileError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace fenlo {

namespace {

/// Returns the number of bytes read; fewer than asked for only at the end of the file or after a fault of the disk.
std::size_t readFully(int descriptor, std::span<char> bytes, std::uint64_t offset) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t size =
            ::pread(descriptor, bytes.data() + done, bytes.size() - done, static_cast<off_t>(offset + done));
        if (size < 0 && errno == EINTR)
            continue;
        if (size <= 0)
            break;
        done += static_cast<std::size_t>(size);
    }
    return done;
}

} // namespace

FileView::FileView(const std::filesystem::path& file)
    // Not blocking, so that opening a pipe does not wait for a writer.
    : m_file(std::make_shared<const Descriptor>(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))) {
    if (!m_file->isOpen())
        throw AudioFileError(file, std::string(std::strerror(errno)) + "; check the name and the permissions");
    struct stat status {};
    if (::fstat(m_file->number(), &status) != 0 || !S_ISREG(status.st_mode))
        throw AudioFileError(file, "this is no regular file; give the name of an audio file");
    append(0, static_cast<std::uint64_t>(status.st_size));
}

FileView& FileView::append(std::uint64_t begin, std::uint64_t end) {
    m_pieces.push_back({m_size, end - begin, begin, {}});
    m_size += end - begin;
    return *this;
}

FileView& FileView::append(std::string bytes) {
    const std::uint64_t length = bytes.size();
    m_pieces.push_back({m_size, length, 0, std::move(bytes)});
    m_size += length;
    return *this;
}

FileView FileView::none() const {
    return FileView(m_file);
}

std::size_t FileView::read(std::uint64_t position, std::span<char> bytes) const {
    std::size_t done = 0;
    for (const Piece& piece : m_pieces) {
        const std::uint64_t from = position + done;
        if (done == bytes.size() || from < piece.begin || from >= piece.begin + piece.length)
            continue;
        const std::uint64_t rest = piece.begin + piece.length - from;
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(rest, bytes.size() - done));
        const std::uint64_t skipped = from - piece.begin;
        const std::size_t size = piece.bytes.empty()
                                     ? readFully(m_file->number(), bytes.subspan(done, wanted), piece.offset + skipped)
                                     : piece.bytes.copy(&bytes[done], wanted, static_cast<std::size_t>(skipped));
        done += size;
        if (size < wanted)
            break;
    }
    return done;
}

} // namespace fenlo
