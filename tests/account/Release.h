#pragma once

#include <memory>
#include <openssl/evp.h>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fenlo::test {

/// Signs packages as the makers of a deployment do. Always the same key for the same seed.
class SigningKey {
public:
    explicit SigningKey(char seed = 'k')
        : m_key(EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr,
                                             reinterpret_cast<const unsigned char*>(std::string(32, seed).data()), 32),
                &EVP_PKEY_free) {}

    std::string publicText() const {
        std::string bytes(32, '\0');
        std::size_t size = bytes.size();
        EVP_PKEY_get_raw_public_key(m_key.get(), reinterpret_cast<unsigned char*>(bytes.data()), &size);
        return base64(bytes);
    }
    std::string sign(std::string_view content) const {
        const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> digest(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
        std::string signature(64, '\0');
        std::size_t size = signature.size();
        if (EVP_DigestSignInit(digest.get(), nullptr, nullptr, nullptr, m_key.get()) != 1 ||
            EVP_DigestSign(digest.get(), reinterpret_cast<unsigned char*>(signature.data()), &size,
                           reinterpret_cast<const unsigned char*>(content.data()), content.size()) != 1)
            throw std::runtime_error("cannot sign");
        return base64(signature);
    }

private:
    static std::string base64(std::string_view bytes) {
        std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
        text.resize(
            std::size_t(EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                        reinterpret_cast<const unsigned char*>(bytes.data()), int(bytes.size()))));
        return text;
    }

    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> m_key;
};

/// A release as a feed tells it; each part can be made to lie.
struct Release {
    Release(std::string number, std::string content, const SigningKey& key)
        : version(std::move(number)), package(std::move(content)), length(std::to_string(package.size())),
          signature(key.sign(package)) {}

    std::string version;
    std::string package; // its content
    std::string address = "https://updates.example/fenlo_1_amd64.deb";
    std::string length;
    std::string signature;
    std::string notes = "Faster.";
    std::string more; // elements of the item

    std::string item() const {
        return "<item><sparkle:version>" + version + "</sparkle:version><description>" + notes + "</description>" +
               more + "<enclosure url=\"" + address + "\" length=\"" + length +
               "\" type=\"application/vnd.debian.binary-package\" sparkle:edSignature=\"" + signature + "\"/></item>";
    }
};

inline std::string feedOf(const std::string& items) {
    return "<?xml version=\"1.0\"?>\n<rss version=\"2.0\" "
           "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel><title>Fenlo</title>" +
           items + "</channel></rss>\n";
}

} // namespace fenlo::test
