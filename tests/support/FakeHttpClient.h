#pragma once

#include "platform/HttpClient.h"

#include <functional>
#include <vector>

namespace fenlo::test {

/// Keeps the requests and answers as the test says, on the caller's thread.
class FakeHttpClient final : public HttpClient {
public:
    HttpResponse send(const HttpRequest& request, std::stop_token stop) override {
        requests.push_back(request);
        if (stop.stop_requested())
            throw HttpError(HttpError::Kind::cancelled, "cancelled");
        return onSend(request);
    }
    void preconnect(const std::string& url) override { warmed.push_back(url); }

    std::function<HttpResponse(const HttpRequest&)> onSend = [](const HttpRequest&) {
        return HttpResponse{200, {}, "{}"};
    };
    std::vector<HttpRequest> requests;
    std::vector<std::string> warmed;
};

} // namespace fenlo::test
