#include "support/account/Secrets.h"

#include "base/Files.h"
#include "base/Text.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

namespace fenlo::test {

std::string newSecret(std::string_view kind) {
    return "standin-" + std::string(kind) + "-" + text::lower(files::makeUuid());
}

std::string challengeOf(std::string_view verifier) {
    unsigned char hash[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char*>(verifier.data()), verifier.size(), hash);
    std::string encoded = base64({reinterpret_cast<const char*>(hash), sizeof hash});
    encoded = text::replaceAll(text::replaceAll(encoded, "+", "-"), "/", "_");
    return text::replaceAll(encoded, "=", "");
}

std::string base64(std::string_view bytes) {
    std::string encoded((bytes.size() + 2) / 3 * 4 + 1, '\0');
    const int size =
        EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
                        reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
    encoded.resize(static_cast<std::size_t>(size));
    return encoded;
}

} // namespace fenlo::test
