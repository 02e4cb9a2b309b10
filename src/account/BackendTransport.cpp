#include "account/BackendTransport.h"

#include "base/Json.h"
#include "base/StrictJson.h"
#include "platform/HttpClient.h"

#include <string_view>

namespace fenlo {

namespace {

constexpr char statusMember[] = "_status";
constexpr int unauthorized = 401;

/// Ends an exchange whose answer is too long, or needs no reading.
struct EnoughRead {};

struct RawReply {
    int status = 0;
    std::string body;
    bool isWhole = true;
};

/// Throws HttpError. The body is taken piece by piece, so that the status of an answer counts however long that is.
RawReply exchange(HttpClient& http, HttpRequest request, std::size_t maxBytes, std::stop_token stop) {
    RawReply reply;
    request.onHead = [&](const HttpResponse& head) {
        reply.status = head.status;
        return true;
    };
    request.onBody = [&](std::string_view bytes) {
        if (reply.status == unauthorized || reply.body.size() + bytes.size() > maxBytes)
            throw EnoughRead();
        reply.body += bytes;
    };
    try {
        reply.status = http.send(request, stop).status;
    } catch (const EnoughRead&) {
        reply.isWhole = false;
    }
    return reply;
}

std::optional<nlohmann::json> objectIn(const RawReply& reply) {
    if (!reply.isWhole)
        return {};
    try {
        nlohmann::json value = StrictJsonReader().read(reply.body);
        return value.is_object() ? std::optional(std::move(value)) : std::nullopt;
    } catch (const JsonFault&) {
        return {};
    }
}

} // namespace

std::optional<nlohmann::json> askService(HttpClient& http, const std::string& address, const ServiceRequest& request,
                                         std::stop_token stop) {
    HttpRequest wire;
    wire.method = request.method;
    wire.url = address + request.path;
    wire.headers = {{"Content-Type", "application/json"}};
    if (!request.token.empty())
        wire.headers.emplace_back("Authorization", "Bearer " + request.token);
    if (request.body)
        wire.body = writeJson(*request.body);
    wire.timeout = request.timeout;

    RawReply raw;
    try {
        raw = exchange(http, std::move(wire), request.maxReplyBytes, stop);
    } catch (const HttpError&) {
        return {};
    }
    if (raw.status == unauthorized)
        return nlohmann::json{{statusMember, unauthorized}};
    std::optional<nlohmann::json> reply = objectIn(raw);
    if (raw.status == 200)
        return reply;
    if (!reply)
        reply = nlohmann::json::object();
    (*reply)[statusMember] = raw.status;
    return reply;
}

int failedStatus(const nlohmann::json& reply) {
    const auto found = reply.find(statusMember);
    if (found == reply.end())
        return 0;
    return found->is_number_integer() ? found->get<int>() : -1;
}

} // namespace fenlo
