#pragma once

#include "support/LoopbackServices.h"

#include <string_view>

namespace fenlo::test {

/// How a service is asked, and the shape of its answers.
struct ServiceProtocol {
    std::string_view service;
    std::string_view provider; // of speech recognition, or whose key is tried; empty for a language model
    std::string_view path;
    std::string (*reply)(const std::string& text); // the JSON body with this answer
    const char* text;                              // the usual answer
    const char* system = "";                       // where the prompts stand in the body
    const char* user = "";
    std::string_view method = "POST";
};

/// Null for a request to none of the services.
const ServiceProtocol* protocolOf(const WireRequest& request);

/// The request with its parts and prompts taken out of the body.
LoopbackServices::Received readRequest(const ServiceProtocol& protocol, const WireRequest& request);

/// The value of a quoted parameter in header lines; `key` ends in the opening quote.
std::string quotedAfter(std::string_view head, std::string_view key);

} // namespace fenlo::test
