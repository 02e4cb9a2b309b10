#include "account/GoogleReplies.h"

#include "account/ReplyFields.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

using nlohmann::json;

constexpr double longestLifetime = 10.0 * 365 * 86'400; // seconds; what is beyond no calendar may write

/// Tokens become a header and a field of a form.
bool isToken(const std::string& text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c > ' ' && c < '\x7f'; });
}

std::string tokenAt(const json& reply, const char* name) {
    const auto token = replyFields::stringAt(reply, name);
    return token && isToken(*token) ? *token : "";
}

} // namespace

std::optional<GoogleTokens> readTokens(std::string_view body) {
    const json reply = replyFields::parse(body);
    GoogleTokens tokens;
    tokens.accessToken = tokenAt(reply, "access_token");
    if (tokens.accessToken.empty())
        return std::nullopt;
    tokens.refreshToken = tokenAt(reply, "refresh_token");
    if (const auto lifetime = reply.find("expires_in"); lifetime != reply.end() && lifetime->is_number())
        tokens.lifetime = std::clamp(lifetime->get<double>(), -longestLifetime, longestLifetime);
    return tokens;
}

std::optional<GoogleUser> readUser(std::string_view body) {
    const json reply = replyFields::parse(body);
    const auto email = replyFields::textAt(reply, "email");
    const auto name = replyFields::textAt(reply, "name");
    if (!email || email->empty() || !name)
        return std::nullopt;
    return GoogleUser{*email, *name, replyFields::textAt(reply, "picture").value_or("")};
}

} // namespace fenlo
