#pragma once

#include "support/LoopbackServer.h"

/// How a service may answer, well or badly. The stand-ins share it.
namespace fenlo::test {

/// The names of the modes: ok, hang, close (without an answer), partial (in the middle of it), garbage, html,
/// utf8 (invalid), trickle (byte by byte, for as long as anybody listens), huge (100 MB), shape (JSON, but none that
/// the service is known for), and the HTTP status of an error.
const std::vector<std::string>& serviceModes();
bool isServiceMode(const std::string& name);

/// What goes back in this mode, after `delay` seconds. `reply` makes the service's JSON body of a text.
WireAnswer answerInMode(const std::string& mode, const std::string& text, double delay,
                        const std::function<std::string(const std::string&)>& reply, std::stop_token stop);

/// Waits for the time, or for the end of the server.
void pause(double seconds, std::stop_token stop);

WireAnswer jsonAnswer(int status, const std::string& body);
WireAnswer notFound(const WireRequest& request);

} // namespace fenlo::test
