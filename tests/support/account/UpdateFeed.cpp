#include "support/account/UpdateFeed.h"

#include "support/account/MinimalPackage.h"
#include "support/account/Secrets.h"

#include <openssl/evp.h>
#include <stdexcept>

namespace fenlo::test {

using nlohmann::json;

namespace {

constexpr const char* notes = "Dictation is twice as pleasant.\nThis is a stand-in's update: it installs nothing.";
constexpr const char* published = "Sun, 15 Nov 2026 10:00:00 +0000";

std::string stringIn(const json& values, const char* name) {
    const auto found = values.find(name);
    if (found == values.end())
        return {};
    return found->is_string() ? found->get<std::string>() : found->dump();
}

WireAnswer asFeed(int status, const json& values) {
    const auto element = [&](const char* name, const char* value) {
        return "      <" + std::string(name) + ">" + escapeMarkup(stringIn(values, value)) + "</" + name + ">\n";
    };
    const auto attribute = [&](const char* name, const char* value) {
        return values.contains(value) ? " " + std::string(name) + "=\"" + escapeMarkup(stringIn(values, value)) + "\""
                                      : std::string();
    };
    return httpAnswer(status, "application/rss+xml",
                      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                      "<rss version=\"2.0\" xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\">\n"
                      "  <channel>\n    <title>Fenlo</title>\n    <item>\n" +
                          element("title", "title") + element("pubDate", "date") +
                          element("sparkle:version", "version") + element("sparkle:shortVersionString", "version") +
                          element("description", "notes") + "      <enclosure type=\"application/octet-stream\"" +
                          attribute("url", "url") + attribute("length", "length") +
                          attribute("sparkle:edSignature", "signature") + "/>\n    </item>\n  </channel>\n</rss>\n");
}

WireAnswer asPackage(int status, const json& values) {
    return httpAnswer(status, "application/octet-stream", values.value("bytes", ""));
}

} // namespace

UpdateFeed::UpdateFeed(std::string package)
    : m_package(package.empty() ? minimalPackage(version) : std::move(package)),
      m_key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"), EVP_PKEY_free), m_signature(sign(m_package)) {}

UpdateFeed::~UpdateFeed() = default;

AccountReply UpdateFeed::feed(const WireRequest& request) const {
    const json values = {{"title", "Fenlo " + std::string(version)},
                         {"date", published},
                         {"version", version},
                         {"notes", notes},
                         {"url", "http://" + request.header("Host") + packagePath},
                         {"length", m_package.size()},
                         {"signature", m_signature}};
    return {200, values, asFeed};
}

AccountReply UpdateFeed::package(const WireRequest&) const {
    return {200, {{"bytes", m_package}}, asPackage};
}

std::string UpdateFeed::key() const {
    unsigned char bytes[32];
    std::size_t size = sizeof bytes;
    if (EVP_PKEY_get_raw_public_key(m_key.get(), bytes, &size) != 1)
        throw std::runtime_error("no Ed25519 key");
    return base64({reinterpret_cast<const char*>(bytes), size});
}

std::string UpdateFeed::sign(const std::string& bytes) const {
    unsigned char signature[64];
    std::size_t size = sizeof signature;
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    if (EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, m_key.get()) != 1 ||
        EVP_DigestSign(context.get(), signature, &size, reinterpret_cast<const unsigned char*>(bytes.data()),
                       bytes.size()) != 1)
        throw std::runtime_error("cannot sign");
    return base64({reinterpret_cast<const char*>(signature), size});
}

} // namespace fenlo::test
