#pragma once

#include "support/LoopbackServer.h"

#include <nlohmann/json.hpp>

namespace fenlo::test {

/// What an endpoint answers: values, which a test may change on their way, and how they go over the wire.
struct AccountReply {
    using Render = WireAnswer (*)(int status, const nlohmann::json& values);

    static WireAnswer asJson(int status, const nlohmann::json& values);

    int status = 200;
    nlohmann::json values = nlohmann::json::object();
    Render render = asJson;
};

/// {"error": …}
AccountReply refusal(int status, const std::string& error);
/// A page for people; `content` is HTML.
AccountReply page(int status, const std::string& title, const std::string& content);
AccountReply redirect(const std::string& address);

std::string escapeMarkup(std::string_view text);
/// A field of a form that people do not see.
std::string hiddenField(const std::string& name, const std::string& value);

} // namespace fenlo::test
