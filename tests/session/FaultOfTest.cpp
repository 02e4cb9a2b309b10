#include "session/FaultOf.h"
#include "platform/HttpClient.h"
#include "speech/LocalTranscriber.h"
#include "speech/Transcription.h"

#include <gtest/gtest.h>
#include <new>

using namespace fenlo;

namespace {

template <typename Error>
std::string shown(const Error& error) {
    return std::string(describe(faultOf(std::make_exception_ptr(error))));
}

std::string shownOfStatus(int status) {
    return shown(TranscriberError(TranscriberError::Kind::networkError, "text", status));
}

} // namespace

TEST(FaultOf, EachFaultIsShownAsTheUserCanMendIt) {
    for (const int status : {401, 403})
        EXPECT_EQ(shownOfStatus(status), "Key refused") << status;
    for (const int status : {402, 429})
        EXPECT_EQ(shownOfStatus(status), "Quota used up") << status;
    for (const int status : {400, 404, 413, 499, 302})
        EXPECT_EQ(shownOfStatus(status), "Service refused the recording") << status;
    for (const int status : {500, 503, 599})
        EXPECT_EQ(shownOfStatus(status), "Service out of order") << status;
    EXPECT_EQ(shown(TranscriberError(TranscriberError::Kind::noAPIKey, "")), "No key for the service");
    EXPECT_EQ(shown(TranscriberError(TranscriberError::Kind::invalidResponse, "")), "Service's answer is unreadable");

    using Kind = HttpError::Kind;
    for (const Kind kind : {Kind::connection, Kind::timeout, Kind::cancelled, Kind::badUrl})
        EXPECT_EQ(shown(HttpError(kind, "")), "Service does not answer");
    EXPECT_EQ(shown(HttpError(Kind::tls, "")), "Service cannot prove who it is");
    EXPECT_EQ(shown(HttpError(Kind::tooLarge, "")), "Service's answer is unreadable");

    EXPECT_EQ(shown(LocalTranscriberError(LocalTranscriberError::Kind::notReady, "")),
              "Recognition on this machine failed");
    EXPECT_EQ(shown(std::bad_alloc()), "Something went wrong; see the log");
    EXPECT_EQ(shown(1), "Something went wrong; see the log");
}
