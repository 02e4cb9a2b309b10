#pragma once

#include "base/Guarded.h"
#include "support/account/AccountReply.h"

#include <map>
#include <set>

namespace fenlo::test {

/// Google's side of a sign-in: the page that asks for consent, the tokens, who has signed in.
///
/// Threads: any.
class GoogleSignIn {
public:
    static constexpr const char* clientId = "client-of-the-stand-in";
    static constexpr const char* clientSecret = "standin-google-client-secret";

    AccountReply authorize(const WireRequest& request); // the page with Allow and Deny
    AccountReply decide(const WireRequest& request);    // what its buttons send; leads back to the program
    AccountReply token(const WireRequest& request);     // of a code or of a refresh token
    AccountReply userInfo(const WireRequest& request);

    /// From now on no code and no token is known.
    void forget();

private:
    struct Person {
        std::string email;
        std::string name;
    };

    struct Code {
        std::string redirect;
        std::string challenge;
        Person person;
    };

    struct State {
        std::map<std::string, Code> codes; // each is gone once it is used, rightly or not
        std::map<std::string, Person> accessTokens;
        std::map<std::string, Person> refreshTokens;
    };

    AccountReply exchange(const std::map<std::string, std::string>& fields);
    AccountReply refresh(const std::map<std::string, std::string>& fields);

    Guarded<State> m_state;
};

} // namespace fenlo::test
