#include "hub/ContentCheck.h"

#include "base/Hexadecimal.h"
#include "base/OpenSsl.h"

#include <array>
#include <fstream>
#include <new>

namespace fenlo::hub {

void ContentCheck::Free::operator()(evp_md_ctx_st* context) const {
    EVP_MD_CTX_free(context);
}

ContentCheck::ContentCheck(const RepoFile& file) : m_expectedSize(file.size), m_expectedHash(contentHash(file)) {
    if (m_expectedHash.empty())
        return;
    m_digest.reset(EVP_MD_CTX_new());
    if (!m_digest || !EVP_DigestInit_ex(m_digest.get(), file.sha256 ? EVP_sha256() : EVP_sha1(), nullptr))
        throw std::bad_alloc();
    if (!file.sha256) { // the header that git hashes before a blob's content, with its NUL
        const std::string head = "blob " + std::to_string(file.size);
        EVP_DigestUpdate(m_digest.get(), head.c_str(), head.size() + 1);
    }
}

void ContentCheck::add(std::string_view bytes) {
    m_size += bytes.size();
    if (m_digest)
        EVP_DigestUpdate(m_digest.get(), bytes.data(), bytes.size());
}

bool ContentCheck::isRight() {
    if (m_size != m_expectedSize)
        return false;
    if (!m_digest)
        return true;
    std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
    unsigned size = 0;
    return EVP_DigestFinal_ex(m_digest.get(), hash.data(), &size) &&
           hexadecimal(std::as_bytes(std::span(hash).first(size))) == m_expectedHash;
}

std::string contentHash(const RepoFile& file) {
    return file.sha256.value_or(file.blobId.value_or(""));
}

bool holds(const std::filesystem::path& place, const RepoFile& file, std::stop_token stop) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(place, error)) ||
        std::filesystem::file_size(place, error) != file.size)
        return false;
    std::ifstream stream(place, std::ios::binary);
    ContentCheck check(file);
    std::string piece(1u << 20u, '\0');
    while (stream && !stop.stop_requested()) {
        stream.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        check.add(std::string_view(piece).substr(0, static_cast<std::size_t>(stream.gcount())));
    }
    return !stop.stop_requested() && check.isRight();
}

} // namespace fenlo::hub
