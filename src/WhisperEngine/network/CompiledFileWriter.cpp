#include "WhisperEngine/network/CompiledFileWriter.h"

#include "WhisperEngine/network/ModelFault.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace fenlo::whisper {

namespace {

std::uint64_t aligned(std::uint64_t offset) {
    return (offset + compiled::alignment - 1) / compiled::alignment * compiled::alignment;
}

struct Layout {
    std::vector<compiled::Entry> entries;
    std::uint64_t fileSize = 0;
};

Layout layOut(std::span<const CompiledFileWriter::Tensor> tensors) {
    Layout layout;
    std::uint64_t offset = sizeof(compiled::Header) + tensors.size() * sizeof(compiled::Entry);
    for (const auto& tensor : tensors) {
        compiled::Entry entry{};
        tensor.name.copy(entry.name, sizeof entry.name - 1);
        entry.type = tensor.type;
        entry.dimensions = static_cast<std::uint32_t>(tensor.shape.size());
        std::ranges::copy(tensor.shape, entry.shape);
        entry.offset = aligned(offset);
        entry.size = tensor.type == compiled::NumberType::float32 ? sizeof(float) : 1;
        for (const std::uint32_t size : tensor.shape)
            entry.size *= size;
        offset = entry.offset + entry.size;
        layout.entries.push_back(entry);
    }
    layout.fileSize = offset;
    return layout;
}

/// Whether a name is that of an unfinished file: a compiled file's name, a point and six letters.
bool isFileOnItsWay(const std::string& name) {
    for (const char* stem : {"MelSpectrogram.", "AudioEncoder.", "TextDecoder."})
        if (name.starts_with(stem) && name.size() == std::strlen(stem) + 6)
            return true;
    return false;
}

} // namespace

std::uint64_t CompiledFileWriter::fileSize(std::span<const Tensor> tensors) {
    return layOut(tensors).fileSize;
}

CompiledFileWriter::CompiledFileWriter(std::filesystem::path path, const CompiledIdentity& identity,
                                       std::span<const Tensor> tensors)
    : m_path(std::move(path)) {
    const Layout layout = layOut(tensors);
    for (const compiled::Entry& entry : layout.entries)
        m_offsets.push_back(entry.offset);

    compiled::Header header{};
    std::ranges::copy(compiled::magic, header.magic);
    header.version = compiled::version;
    header.kind = static_cast<std::uint32_t>(identity.kind);
    header.unit = static_cast<std::uint32_t>(identity.unit);
    header.tensorCount = static_cast<std::uint32_t>(tensors.size());
    header.architecture = identity.architecture.numbers();
    std::ranges::copy(identity.fingerprint, header.fingerprint);
    header.fileSize = layout.fileSize;

    std::vector<std::byte> table(sizeof header + layout.entries.size() * sizeof(compiled::Entry));
    std::memcpy(table.data(), &header, sizeof header);
    std::memcpy(table.data() + sizeof header, layout.entries.data(), table.size() - sizeof header);
    std::ranges::copy(compiled::checksum(table), header.checksum);
    std::memcpy(table.data(), &header, sizeof header);

    makeNeighbour();
    writeAt(0, table);
}

/// The lock tells others that the file has a writer. A file that was removed before it was locked is made again.
void CompiledFileWriter::makeNeighbour() {
    for (struct stat found{}; found.st_nlink == 0;) {
        m_neighbour.emplace(m_path);
        if (!m_neighbour->isOpen())
            fail();
        ::flock(m_neighbour->descriptor(), LOCK_EX | LOCK_NB);
        if (::fstat(m_neighbour->descriptor(), &found) != 0)
            break;
    }
}

void CompiledFileWriter::removeLeftovers(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> candidates;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (isFileOnItsWay(entry->path().filename().string()))
            candidates.push_back(entry->path());
    for (const auto& candidate : candidates) {
        const int descriptor = ::open(candidate.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
        if (descriptor < 0)
            continue;
        if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0)
            ::unlink(candidate.c_str());
        ::close(descriptor);
    }
}

void CompiledFileWriter::write(std::size_t tensor, std::uint64_t byteInTensor, std::span<const std::byte> numbers) {
    writeAt(m_offsets.at(tensor) + byteInTensor, numbers);
}

void CompiledFileWriter::commit() {
    if (!m_neighbour->commit())
        fail();
}

void CompiledFileWriter::writeAt(std::uint64_t offset, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written =
            ::pwrite(m_neighbour->descriptor(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            fail();
        bytes = bytes.subspan(static_cast<std::size_t>(written));
        offset += static_cast<std::uint64_t>(written);
    }
}

void CompiledFileWriter::fail() const {
    throw modelFault("Cannot write " + m_path.string() + ": " + std::strerror(errno) +
                     ". Make room on the disk or choose another folder.");
}

} // namespace fenlo::whisper
