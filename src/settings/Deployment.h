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
    std::string serviceHost = {}; // of the accounts; empty where there is nobody to sign in to
    std::string xaiApiKey = {};   // carried for users who have none of their own; empty for none

    /// Reads the built-in values and the override. A file that cannot be used is logged in one line and left out.
    static Deployment load();

    static const char defaults[];
};

} // namespace fenlo
