#include "support/account/AppleSignIn.h"

#include "base/Json.h"
#include "support/account/Forms.h"
#include "support/account/Secrets.h"

namespace fenlo::test {

using nlohmann::json;

namespace {

constexpr const char* callbackPath = "/api/v1/auth/apple/callback";

std::string appleFault(const FormFields& query) {
    if (fieldOf(query, "client_id") != AppleSignIn::servicesId)
        return "client_id is not that of the deployment";
    if (!fieldOf(query, "redirect_uri").ends_with(callbackPath))
        return "redirect_uri is not the callback of the service";
    if (fieldOf(query, "response_type") != "code id_token" || fieldOf(query, "response_mode") != "form_post")
        return "the answer would not come as a form with \"code id_token\"";
    if (fieldOf(query, "scope") != "name email")
        return "scope is not \"name email\"";
    return fieldOf(query, "state").empty() ? "no state" : "";
}

/// What the service makes of Apple's answer.
json resultOf(const FormFields& form) {
    if (const std::string error = fieldOf(form, "error"); !error.empty())
        return {{"status", "error"}, {"error", error == "user_cancelled_authorize" ? "Sign-in was denied" : error}};
    json result = {{"status", "ok"}};
    const json user = parseJson(fieldOf(form, "user"));
    for (const char* name : {"email", "name"})
        if (user.is_object() && user.contains(name) && user[name].is_string())
            result[name] = user[name];
    return result;
}

} // namespace

AccountReply AppleSignIn::authorize(const WireRequest& request) {
    const FormFields query = queryOf(request);
    if (const std::string fault = appleFault(query); !fault.empty())
        return page(400, "Apple: wrong request", "<p>" + escapeMarkup(fault) + "</p>");
    return page(200, "Sign in with Apple",
                "<p>What may Fenlo know? Leave empty what you hide.</p>"
                "<form method=\"post\" action=\"/apple/decide\">" +
                    hiddenField("redirect_uri", fieldOf(query, "redirect_uri")) +
                    hiddenField("state", fieldOf(query, "state")) +
                    "<label>E-mail <input name=\"email\" value=\"ben@example.com\"></label>"
                    "<label>Name <input name=\"name\" value=\"Ben Example\"></label>"
                    "<button name=\"decision\" value=\"allow\" autofocus>Allow</button>"
                    "<button name=\"decision\" value=\"user_cancelled_authorize\">Deny</button>"
                    "<button name=\"decision\" value=\"server_error\">Fail</button></form>");
}

AccountReply AppleSignIn::decide(const WireRequest& request) {
    const FormFields form = parseForm(request.body);
    const std::string decision = fieldOf(form, "decision");
    std::string fields = hiddenField("state", fieldOf(form, "state"));
    if (decision == "allow") {
        json user = json::object();
        for (const char* name : {"email", "name"})
            if (const std::string value = fieldOf(form, name); !value.empty())
                user[name] = value;
        fields += hiddenField("code", newSecret("apple-code")) + hiddenField("id_token", newSecret("apple-id-token")) +
                  hiddenField("user", writeJson(user));
    } else {
        fields += hiddenField("error", decision);
    }
    return page(200, "Sign in with Apple",
                "<form method=\"post\" action=\"" + escapeMarkup(fieldOf(form, "redirect_uri")) + "\">" + fields +
                    "<button>Continue</button></form><script>document.forms[0].submit()</script>");
}

AccountReply AppleSignIn::callback(const WireRequest& request) {
    const FormFields form = parseForm(request.body);
    const std::string session = fieldOf(form, "state");
    if (session.empty())
        return page(400, "Sign-in failed", "<p>Please try again.</p>");
    const json result = resultOf(form);
    m_results.with([&](auto& results) { results[session] = result; });
    return result["status"] == "ok" ? page(200, "You are signed in", "<p>You can close this page.</p>")
                                    : page(200, "Sign-in failed", "<p>Please try again.</p>");
}

AccountReply AppleSignIn::status(const WireRequest& request) {
    return m_results.with([&](auto& results) {
        auto node = results.extract(fieldOf(queryOf(request), "session"));
        return AccountReply{200, node ? std::move(node.mapped()) : json{{"status", "pending"}}};
    });
}

void AppleSignIn::forget() {
    m_results.with([](auto& results) { results.clear(); });
}

} // namespace fenlo::test
