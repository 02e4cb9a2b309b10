#include "support/HubFiles.h"

#include "base/Files.h"

#include <algorithm>
#include <array>
#include <openssl/evp.h>

namespace fenlo::test {

namespace fs = std::filesystem;

namespace {

std::string hashOf(const std::string& bytes, const EVP_MD* algorithm) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned size = 0;
    EVP_Digest(bytes.data(), bytes.size(), hash.data(), &size, algorithm, nullptr);
    std::string text;
    for (unsigned i = 0; i < size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", hash[i]);
        text += digits;
    }
    return text;
}

} // namespace

std::string sha256(const std::string& content) {
    return hashOf(content, EVP_sha256());
}

std::string gitBlobSha1(const std::string& content) {
    return hashOf("blob " + std::to_string(content.size()) + '\0' + content, EVP_sha1());
}

std::optional<HubFile> hubFile(const fs::path& repository, const std::string& path, std::uint64_t largeFrom) {
    std::error_code error;
    if (path.find("..") != std::string::npos || !fs::is_regular_file(repository / path, error))
        return {};
    const std::string content = files::read(repository / path).value_or("");
    const bool isLarge = content.size() >= largeFrom;
    return HubFile{repository / path, path, content.size(), isLarge, isLarge ? sha256(content) : gitBlobSha1(content)};
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
