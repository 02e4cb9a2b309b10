#pragma once

#include "platform/HttpClient.h"

#include <functional>
#include <vector>

namespace fenlo::test {

/// Records requests and gives the test's answers, on the caller's thread. A streamed body comes in two pieces.
class FakeHttpClient final : public HttpClient {
public:
    HttpResponse send(const HttpRequest& request, std::stop_token stop) override {
        requests.push_back(request);
        if (stop.stop_requested())
            throw HttpError(HttpError::Kind::cancelled, "cancelled");
        HttpResponse response = onSend(request);
        return request.onBody ? deliver(request, std::move(response)) : response;
    }
    void preconnect(const std::string& url) override { warmed.push_back(url); }

    std::function<HttpResponse(const HttpRequest&)> onSend = [](const HttpRequest&) {
        return HttpResponse{200, {}, "{}"};
    };
    std::vector<HttpRequest> requests;
    std::vector<std::string> warmed;

private:
    static HttpResponse deliver(const HttpRequest& request, HttpResponse response) {
        const std::string body = std::exchange(response.body, {});
        if (request.onHead && !request.onHead(response)) {
            response.body = body;
            return response;
        }
        const std::size_t half = body.size() / 2;
        for (const std::string& piece : {body.substr(0, half), body.substr(half)})
            if (!piece.empty())
                request.onBody(piece);
        return response;
    }
};

} // namespace fenlo::test
