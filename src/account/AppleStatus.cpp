#include "account/AppleStatus.h"

#include "account/ReplyFields.h"

#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

/// The given name, else what stands before the "@".
std::string nameOf(const std::string& name, const std::string& email) {
    if (!name.empty())
        return name;
    const std::string local = email.substr(0, email.find('@'));
    return local.empty() ? "User" : local;
}

} // namespace

AppleStatus readAppleStatus(int httpStatus, std::string_view body) {
    using Kind = AppleStatus::Kind;
    if (httpStatus != 200)
        return {};
    const nlohmann::json reply = replyFields::parse(body);
    const auto textAt = [&](const char* name) { return replyFields::textAt(reply, name).value_or(""); };
    const std::string status = replyFields::stringAt(reply, "status").value_or("");
    if (status == "error") {
        const std::string error = textAt("error");
        return {.kind = Kind::failed, .error = error.empty() ? "Login failed" : error};
    }
    if (status != "ok")
        return {};
    const std::string email = textAt("email");
    return {.kind = Kind::ok, .email = email, .name = nameOf(textAt("name"), email)};
}

} // namespace fenlo
