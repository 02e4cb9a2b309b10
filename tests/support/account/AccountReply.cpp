#include "support/account/AccountReply.h"

#include "base/Json.h"
#include "base/Text.h"
#include "support/ServiceFaults.h"

namespace fenlo::test {

using nlohmann::json;

namespace {

constexpr const char* style = "body{font:16px/1.5 sans-serif;max-width:26em;margin:4em auto;padding:0 1em;"
                              "color-scheme:light dark}label{display:block;margin:.8em 0}input{width:100%;font:inherit}"
                              "button{font:inherit;padding:.4em 1.2em;margin-right:.6em}small{opacity:.7}";

WireAnswer asPage(int status, const json& values) {
    const std::string title = values.value("title", "");
    return httpAnswer(
        status, "text/html; charset=utf-8",
        "<!DOCTYPE html>\n<html lang=\"en\"><head><title>" + escapeMarkup(title) + "</title><style>" + style +
            "</style></head><body><h1>" + escapeMarkup(title) + "</h1>" + values.value("content", "") +
            "<p><small>A stand-in on this computer: it asks for no password.</small></p></body></html>\n");
}

WireAnswer asRedirect(int status, const json& values) {
    return {"HTTP/1.1 " + std::to_string(status) + " Found\r\nLocation: " + values.value("location", "") +
            "\r\nContent-Length: 0\r\n\r\n"};
}

} // namespace

WireAnswer AccountReply::asJson(int status, const json& values) {
    return jsonAnswer(status, writeJson(values));
}

AccountReply refusal(int status, const std::string& error) {
    return {status, {{"error", error}}};
}

AccountReply page(int status, const std::string& title, const std::string& content) {
    return {status, {{"title", title}, {"content", content}}, asPage};
}

AccountReply redirect(const std::string& address) {
    return {302, {{"location", address}}, asRedirect};
}

std::string escapeMarkup(std::string_view text) {
    std::string escaped = text::replaceAll(text, "&", "&amp;");
    escaped = text::replaceAll(escaped, "<", "&lt;");
    return text::replaceAll(escaped, "\"", "&quot;");
}

std::string hiddenField(const std::string& name, const std::string& value) {
    return "<input type=\"hidden\" name=\"" + name + "\" value=\"" + escapeMarkup(value) + "\">";
}

} // namespace fenlo::test
