#pragma once

#include "support/LoopbackServer.h"

/// The ways in which a stand-in for a service answers, well or badly.
namespace fenlo::test {

/// The names of the modes: ok, hang, close (without an answer), partial (in the middle of it), garbage, html,
/// utf8 (invalid), trickle (byte by byte, without end), large (10 MB), huge (100 MB), shape (JSON of another shape),
/// and the HTTP status of an error.
const std::vector<std::string>& serviceModes();
bool isServiceMode(const std::string& name);

/// The answer in this mode, after `delay` seconds. `reply` makes the service's JSON body from a text.
WireAnswer answerInMode(const std::string& mode, const std::string& text, double delay,
                        const std::function<std::string(const std::string&)>& reply, std::stop_token stop);

/// The same for a service that answers otherwise than in a text; `good` is asked only where its answer is wanted.
WireAnswer answerInMode(const std::string& mode, const std::function<WireAnswer()>& good, double delay,
                        std::stop_token stop);

/// Waits, at most until the server ends.
void pause(double seconds, std::stop_token stop);
/// Waits until the server ends.
void hang(std::stop_token stop);

WireAnswer jsonAnswer(int status, const std::string& body);
WireAnswer notFound(const WireRequest& request);

} // namespace fenlo::test
