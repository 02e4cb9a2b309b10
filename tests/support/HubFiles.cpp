#include "support/HubFiles.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <openssl/evp.h>
#include <sstream>

namespace fenlo::test {

namespace fs = std::filesystem;

namespace {

std::string hexadecimal(const unsigned char* bytes, unsigned size) {
    std::string text;
    for (unsigned i = 0; i < size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", bytes[i]);
        text += digits;
    }
    return text;
}

/// The hash of a prefix and the rest of the stream.
std::string hashOf(const std::string& prefix, std::istream& stream, const EVP_MD* algorithm) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    EVP_DigestInit_ex(context.get(), algorithm, nullptr);
    EVP_DigestUpdate(context.get(), prefix.data(), prefix.size());
    std::string piece(1u << 20u, '\0');
    while (stream) {
        stream.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        EVP_DigestUpdate(context.get(), piece.data(), static_cast<std::size_t>(stream.gcount()));
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned size = 0;
    EVP_DigestFinal_ex(context.get(), hash.data(), &size);
    return hexadecimal(hash.data(), size);
}

std::string sha256Of(std::istream& stream) {
    return hashOf("", stream, EVP_sha256());
}

std::string blobOf(std::istream& stream, std::uint64_t size) {
    return hashOf("blob " + std::to_string(size) + '\0', stream, EVP_sha1());
}

} // namespace

std::string sha256(const std::string& content) {
    std::istringstream stream(content);
    return sha256Of(stream);
}

std::string gitBlobSha1(const std::string& content) {
    std::istringstream stream(content);
    return blobOf(stream, content.size());
}

std::optional<HubFile> hubFile(const fs::path& repository, const std::string& path, std::uint64_t largeFrom) {
    std::error_code error;
    if (path.find("..") != std::string::npos || !fs::is_regular_file(repository / path, error))
        return {};
    const std::uint64_t size = fs::file_size(repository / path);
    std::ifstream stream(repository / path, std::ios::binary);
    const bool isLarge = size >= largeFrom;
    return HubFile{repository / path, path, size, isLarge, isLarge ? sha256Of(stream) : blobOf(stream, size)};
}

std::vector<HubFile> hubFiles(const fs::path& repository, std::uint64_t largeFrom) {
    std::vector<HubFile> found;
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(repository, error))
        if (auto file = hubFile(repository, fs::relative(entry.path(), repository).string(), largeFrom))
            found.push_back(*file);
    std::sort(found.begin(), found.end(), [](const HubFile& a, const HubFile& b) { return a.path < b.path; });
    return found;
}

} // namespace fenlo::test
