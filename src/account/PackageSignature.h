#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenlo {

/// The key with which the makers of a deployment sign its packages.
class PackageKey {
public:
    /// An Ed25519 public key: 32 bytes in Base64. Nothing for any other text.
    static std::optional<PackageKey> parse(std::string_view text);

    /// Whether this is the signature (64 bytes, RFC 8032) of exactly this content. A hundred megabytes take half a
    /// second.
    bool hasSigned(std::string_view content, std::string_view signature) const;

private:
    explicit PackageKey(std::string bytes) : m_bytes(std::move(bytes)) {}

    std::string m_bytes;
};

/// 64 bytes of Base64 as the bytes themselves; nothing for any other text.
std::optional<std::string> parseSignature(std::string_view text);

} // namespace fenlo
