#include "account/PackageSignature.h"

#include "base/Base64.h"
#include "base/OpenSsl.h"

#include <memory>

namespace fenlo {

namespace {

constexpr std::size_t keySize = 32;
constexpr std::size_t signatureSize = 64;

using Key = std::unique_ptr<EVP_PKEY, decltype(::EVP_PKEY_free)*>;
using Digest = std::unique_ptr<EVP_MD_CTX, decltype(::EVP_MD_CTX_free)*>;

const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::optional<std::string> decodeExactly(std::string_view text, std::size_t size) {
    auto bytes = decodeBase64(text);
    if (bytes && bytes->size() != size)
        bytes.reset();
    return bytes;
}

} // namespace

std::optional<PackageKey> PackageKey::parse(std::string_view text) {
    auto bytes = decodeExactly(text, keySize);
    return bytes ? std::optional(PackageKey(std::move(*bytes))) : std::nullopt;
}

bool PackageKey::hasSigned(std::string_view content, std::string_view signature) const {
    const Key key(EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, bytesOf(m_bytes), m_bytes.size()),
                  EVP_PKEY_free);
    const Digest digest(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    return key && digest && signature.size() == signatureSize &&
           EVP_DigestVerifyInit(digest.get(), nullptr, nullptr, nullptr, key.get()) == 1 &&
           EVP_DigestVerify(digest.get(), bytesOf(signature), signature.size(), bytesOf(content), content.size()) == 1;
}

std::optional<std::string> parseSignature(std::string_view text) {
    return decodeExactly(text, signatureSize);
}

} // namespace fenlo
