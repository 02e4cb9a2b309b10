#include "WhisperEngine/network/MappedFile.h"

#include "WhisperEngine/network/ModelFault.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fenlo::whisper {

MappedFile::MappedFile(const std::filesystem::path& file) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        if (errno == ENOENT || errno == ENOTDIR)
            throw ModelDamage("Model file not found at " + file.string(), "");
        throw modelFault("Cannot open " + file.string() + ": " + std::strerror(errno) + ".");
    }
    struct stat facts {};
    const bool regular = ::fstat(descriptor, &facts) == 0 && S_ISREG(facts.st_mode);
    void* memory = nullptr;
    if (regular && facts.st_size > 0)
        memory = ::mmap(nullptr, static_cast<std::size_t>(facts.st_size), PROT_READ, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (!regular || memory == MAP_FAILED)
        throw modelFault("Cannot read " + file.string() + ": it is no file that can be mapped.");
    m_bytes = {static_cast<const std::byte*>(memory), static_cast<std::size_t>(facts.st_size)};
}

MappedFile::MappedFile(MappedFile&& other) noexcept : m_bytes(std::exchange(other.m_bytes, {})) {}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
    std::swap(m_bytes, other.m_bytes);
    return *this;
}

void MappedFile::readAhead() const {
    constexpr std::size_t step = std::size_t{128} * 1024; // of one request the system reads no more than its look-ahead
    for (std::size_t at = 0; at < m_bytes.size(); at += step)
        ::madvise(const_cast<std::byte*>(m_bytes.data() + at), std::min(step, m_bytes.size() - at), MADV_WILLNEED);
}

MappedFile::~MappedFile() {
    if (!m_bytes.empty())
        ::munmap(const_cast<std::byte*>(m_bytes.data()), m_bytes.size());
}

} // namespace fenlo::whisper
