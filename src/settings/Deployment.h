#pragma once

#include <string>

namespace fenlo {

/// The values that differ from one deployment to another. They come from resources/deployment.json, which is built
/// in; a file named in `FENLO_DEPLOYMENT` overrides it key by key, which is how tests and self-hosters point every
/// client at another server.
struct Deployment {
    std::string groqHost;               // scheme and host, no path; speech and language models
    std::string supportAddress;         // a mail address
    std::string subtitleSiteDomain;     // named in the credit lines that recognisers invent
    std::string modelRepository = {};   // "publisher/name" on the model hub; empty for the publishers' own repositories
    std::string offlineModel = "small"; // what offline mode dictates with, by a name that finds one model
    std::string geminiHost = {};        // hosts as above
    std::string deepgramHost = {};
    std::string xaiHost = {};
    std::string xaiApiKey = {}; // carried for users who have none of their own; empty for none

    std::string serviceHost = {};    // of the accounts, as above; empty where there is nobody to sign in to
    std::string successPage = {};    // where the browser ends after a sign-in; empty for a page of the program's own
    std::string googleClientId = {}; // of an installed application; empty where Google is not offered
    std::string googleClientSecret = {};
    std::string googleAuthUri = {}; // whole addresses, as the next two
    std::string googleTokenUri = {};
    std::string googleUserInfoUri = {};
    std::string appleServicesId = {}; // empty where Apple is not offered
    std::string appleAuthUri = {};
    std::string updateFeed = {}; // the whole address of the appcast; empty where updates come another way
    std::string updateKey = {};  // the Ed25519 public key of the packages, in Base64

    bool hasService() const { return !serviceHost.empty(); }
    bool offersGoogle() const;
    bool offersApple() const { return hasService() && !appleServicesId.empty() && !appleAuthUri.empty(); }
    bool offersSignIn() const { return offersGoogle() || offersApple(); }
    bool offersUpdates() const { return !updateFeed.empty() && !updateKey.empty(); }

    /// Reads the built-in values and the override. A file that cannot be used is logged in one line and left out.
    static Deployment load();

    static const char defaults[];
};

} // namespace fenlo
