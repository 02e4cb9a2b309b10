#pragma once

#include "support/account/AccountReply.h"

#include <memory>
#include <string>

struct evp_pkey_st;

namespace fenlo::test {

/// A feed of updates with one version, whose package is signed with a key made for this run.
///
/// Threads: any.
class UpdateFeed {
public:
    static constexpr const char* path = "/updates/appcast.xml";
    static constexpr const char* packagePath = "/updates/fenlo-update.deb";

    static constexpr const char* version = "99.1.0";

    /// `package` has the bytes to serve; without any it is one of this version that installs nothing.
    explicit UpdateFeed(std::string package);
    ~UpdateFeed();

    AccountReply feed(const WireRequest& request) const;
    AccountReply package(const WireRequest& request) const;

    /// The public key, in Base64.
    std::string key() const;
    /// The Ed25519 signature of these bytes, in Base64.
    std::string sign(const std::string& bytes) const;

private:
    const std::string m_package;
    const std::unique_ptr<evp_pkey_st, void (*)(evp_pkey_st*)> m_key;
    const std::string m_signature;
};

} // namespace fenlo::test
