#include "support/ServiceFaults.h"

#include "base/Text.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace fenlo::test {

namespace {

/// Sends a byte of the body now and then, and never ends.
WireAnswer trickle() {
    WireAnswer answer{"HTTP/1.1 200 Answer\r\nContent-Type: application/json\r\nContent-Length: 1000000\r\n\r\n", true};
    answer.more = [](std::stop_token stop) {
        pause(0.05, stop);
        return std::string(stop.stop_requested() ? "" : " ");
    };
    return answer;
}

WireAnswer megabytes(int pieces) {
    constexpr std::size_t pieceSize = 1 << 20;
    WireAnswer answer = httpAnswer(200, "application/json", "");
    answer.bytes = "HTTP/1.1 200 Answer\r\nContent-Type: application/json\r\nContent-Length: " +
                   std::to_string(pieceSize * static_cast<std::size_t>(pieces)) + "\r\n\r\n";
    answer.more = [pieces, sent = std::make_shared<int>(0)](std::stop_token) {
        return (*sent)++ < pieces ? std::string(pieceSize, 'x') : std::string();
    };
    return answer;
}

} // namespace

const std::vector<std::string>& serviceModes() {
    static const std::vector<std::string> names = {"ok",   "hang",    "close", "partial", "garbage", "html",
                                                   "utf8", "trickle", "large", "huge",    "shape",   "400",
                                                   "401",  "403",     "404",   "429",     "500",     "503"};
    return names;
}

bool isServiceMode(const std::string& name) {
    return std::find(serviceModes().begin(), serviceModes().end(), name) != serviceModes().end();
}

WireAnswer answerInMode(const std::string& mode, const std::string& text, double delay,
                        const std::function<std::string(const std::string&)>& reply, std::stop_token stop) {
    const bool broken = mode == "utf8";
    const auto good = [&] {
        return jsonAnswer(200, broken ? text::replaceAll(reply("A broken caf@ letter"), "@", "\xE9") : reply(text));
    };
    return answerInMode(broken ? "ok" : mode, good, delay, stop);
}

WireAnswer answerInMode(const std::string& mode, const std::function<WireAnswer()>& good, double delay,
                        std::stop_token stop) {
    pause(delay, stop);
    if (mode == "ok")
        return good();
    if (mode == "hang")
        hang(stop);
    if (mode == "hang" || mode == "close")
        return {{}, true};
    if (mode == "partial") {
        std::string bytes = good().bytes;
        const std::size_t body = bytes.find("\r\n\r\n") + 4;
        bytes.resize(bytes.size() - (bytes.size() - body) / 2);
        return {bytes, true};
    }
    if (mode == "garbage")
        return jsonAnswer(200, "{\"text\": [[[ this is no JSON");
    if (mode == "html")
        return httpAnswer(200, "text/html", "<!DOCTYPE html>\n<html><body>Sign in to the network</body></html>");
    if (mode == "utf8")
        return jsonAnswer(200, "{\"text\": \"caf\xE9\"}");
    if (mode == "trickle")
        return trickle();
    if (mode == "large" || mode == "huge")
        return megabytes(mode == "large" ? 10 : 100);
    if (mode == "shape")
        return jsonAnswer(200, R"({"answer": ["in", "another", "shape"]})");
    return jsonAnswer(std::stoi(mode), R"({"error": {"message": "internal error of the stand-in"}})");
}

void pause(double seconds, std::stop_token stop) {
    if (seconds <= 0)
        return;
    std::mutex mutex;
    std::condition_variable_any sleep;
    std::unique_lock lock(mutex);
    sleep.wait_for(lock, stop, std::chrono::duration<double>(seconds), [] { return false; });
}

void hang(std::stop_token stop) {
    while (!stop.stop_requested())
        pause(3600, stop);
}

WireAnswer jsonAnswer(int status, const std::string& body) {
    return httpAnswer(status, "application/json", body);
}

WireAnswer notFound(const WireRequest& request) {
    // The client would take a body after HEAD for the next answer.
    return request.method == "HEAD" ? httpAnswer(404, "application/json", "")
                                    : jsonAnswer(404, R"({"error": "not found"})");
}

} // namespace fenlo::test
