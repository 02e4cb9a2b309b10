#pragma once

#include "platform/HttpClient.h"

#include <gtest/gtest.h>

namespace fenlo::test {

/// The error of a request that must not succeed.
inline HttpError failureOf(HttpClient& client, const HttpRequest& request, std::stop_token stop = {}) {
    try {
        client.send(request, std::move(stop));
    } catch (const HttpError& error) {
        return error;
    }
    ADD_FAILURE() << "an answer came";
    return {HttpError::Kind::badUrl, ""};
}

} // namespace fenlo::test
