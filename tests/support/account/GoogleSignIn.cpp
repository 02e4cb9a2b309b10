#include "support/account/GoogleSignIn.h"

#include "support/account/Forms.h"
#include "support/account/Secrets.h"

#include <optional>

namespace fenlo::test {

namespace {

constexpr int lifetime = 3599; // seconds

/// What is wrong with the address that the browser was opened with; empty when nothing is.
std::string googleFault(const FormFields& query) {
    if (fieldOf(query, "client_id") != GoogleSignIn::clientId)
        return "client_id is not that of the deployment";
    const std::string redirect = fieldOf(query, "redirect_uri");
    if (!redirect.starts_with("http://localhost:") && !redirect.starts_with("http://127.0.0.1:"))
        return "redirect_uri is not on this computer";
    if (fieldOf(query, "response_type") != "code")
        return "response_type is not \"code\"";
    if (fieldOf(query, "code_challenge").empty() || fieldOf(query, "code_challenge_method") != "S256")
        return "no challenge by the method S256";
    return fieldOf(query, "scope").find("email") == std::string::npos ? "scope has no e-mail" : "";
}

template <typename Value>
std::optional<Value> taken(std::map<std::string, Value>& values, const std::string& key) {
    auto node = values.extract(key);
    return node ? std::optional(std::move(node.mapped())) : std::nullopt;
}

} // namespace

AccountReply GoogleSignIn::authorize(const WireRequest& request) {
    const FormFields query = queryOf(request);
    if (const std::string fault = googleFault(query); !fault.empty())
        return page(400, "Google: wrong request", "<p>" + escapeMarkup(fault) + "</p>");
    return page(200, "Sign in with Google",
                "<p>Fenlo wants to know your name and your e-mail address.</p>"
                "<form method=\"post\" action=\"/google/decide\">" +
                    hiddenField("redirect_uri", fieldOf(query, "redirect_uri")) +
                    hiddenField("code_challenge", fieldOf(query, "code_challenge")) +
                    hiddenField("state", fieldOf(query, "state")) +
                    "<label>E-mail <input name=\"email\" value=\"ann@example.com\"></label>"
                    "<label>Name <input name=\"name\" value=\"Ann Example\"></label>"
                    "<button name=\"decision\" value=\"allow\" autofocus>Allow</button>"
                    "<button name=\"decision\" value=\"deny\">Deny</button></form>");
}

AccountReply GoogleSignIn::decide(const WireRequest& request) {
    const FormFields form = parseForm(request.body);
    const std::string redirectUri = fieldOf(form, "redirect_uri");
    FormFields answer;
    if (const std::string state = fieldOf(form, "state"); !state.empty())
        answer["state"] = state;
    if (fieldOf(form, "decision") != "allow") {
        answer["error"] = "access_denied";
        return redirect(withQuery(redirectUri, answer));
    }
    answer["code"] = "4/" + newSecret("code"); // a slash, as Google's have
    answer["scope"] = "openid email profile";
    m_state.with([&](State& state) {
        state.codes[answer["code"]] = {
            redirectUri, fieldOf(form, "code_challenge"), {fieldOf(form, "email"), fieldOf(form, "name")}};
    });
    return redirect(withQuery(redirectUri, answer));
}

AccountReply GoogleSignIn::token(const WireRequest& request) {
    const FormFields form = parseForm(request.body);
    if (fieldOf(form, "client_id") != clientId || fieldOf(form, "client_secret") != clientSecret)
        return refusal(401, "invalid_client");
    const std::string grant = fieldOf(form, "grant_type");
    if (grant == "authorization_code")
        return exchange(form);
    return grant == "refresh_token" ? refresh(form) : refusal(400, "unsupported_grant_type");
}

AccountReply GoogleSignIn::exchange(const FormFields& fields) {
    return m_state.with([&](State& state) {
        const auto code = taken(state.codes, fieldOf(fields, "code"));
        if (!code || code->redirect != fieldOf(fields, "redirect_uri") ||
            code->challenge != challengeOf(fieldOf(fields, "code_verifier")))
            return refusal(400, "invalid_grant");
        const std::string access = newSecret("access");
        const std::string refresh = newSecret("refresh");
        state.accessTokens[access] = state.refreshTokens[refresh] = code->person;
        return AccountReply{200,
                            {{"access_token", access},
                             {"expires_in", lifetime},
                             {"refresh_token", refresh},
                             {"scope", "openid email profile"},
                             {"token_type", "Bearer"}}};
    });
}

AccountReply GoogleSignIn::refresh(const FormFields& fields) {
    return m_state.with([&](State& state) {
        const auto known = state.refreshTokens.find(fieldOf(fields, "refresh_token"));
        if (known == state.refreshTokens.end())
            return refusal(400, "invalid_grant");
        const std::string access = newSecret("access");
        state.accessTokens[access] = known->second;
        return AccountReply{200, {{"access_token", access}, {"expires_in", lifetime}, {"token_type", "Bearer"}}};
    });
}

AccountReply GoogleSignIn::userInfo(const WireRequest& request) {
    const std::string header = request.header("Authorization");
    return m_state.with([&](const State& state) {
        const auto known = state.accessTokens.find(header.substr(0, 7) == "Bearer " ? header.substr(7) : "");
        if (known == state.accessTokens.end())
            return refusal(401, "invalid_token");
        return AccountReply{200,
                            {{"id", "4711"},
                             {"email", known->second.email},
                             {"verified_email", true},
                             {"name", known->second.name},
                             {"picture", "http://127.0.0.1:9/picture"}}};
    });
}

void GoogleSignIn::forget() {
    m_state.with([](State& state) { state = {}; });
}

} // namespace fenlo::test
