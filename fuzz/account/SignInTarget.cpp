// What comes in during a sign-in: a browser's request, and the replies of the providers and of the service. Any bytes
// are read without harm, and what goes on into a header, the keyring, a log line or the screen is one clean line.

#include "account/AppleStatus.h"
#include "account/GoogleReplies.h"
#include "account/Redirect.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

using namespace fenlo;

namespace {

void requireLine(const std::string& text) {
    requireUtf8(text);
    require(std::ranges::none_of(text, [](char c) { return c >= 0 && c < ' '; }));
}

void requireToken(const std::string& token) {
    require(std::ranges::all_of(token, [](char c) { return c > ' ' && c < '\x7f'; }));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    if (const auto redirect = readRedirect(input); redirect && redirect->code) {
        require(!redirect->code->empty());
        requireUtf8(*redirect->code);
    }
    if (const auto tokens = readTokens(input)) {
        require(!tokens->accessToken.empty() && std::isfinite(tokens->lifetime));
        requireToken(tokens->accessToken);
        requireToken(tokens->refreshToken);
    }
    if (const auto user = readUser(input)) {
        require(!user->email.empty());
        for (const std::string& text : {user->email, user->name, user->picture})
            requireLine(text);
    }
    const AppleStatus status = readAppleStatus(200, input);
    require(status.kind != AppleStatus::Kind::ok || !status.name.empty());
    require(status.kind != AppleStatus::Kind::failed || !status.error.empty());
    for (const std::string& text : {status.error, status.email, status.name})
        requireLine(text);
    require(readAppleStatus(500, input).kind == AppleStatus::Kind::pending);
    return 0;
}
