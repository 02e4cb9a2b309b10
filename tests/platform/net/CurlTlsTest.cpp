#include "platform/linux/net/CurlHttpClient.h"
#include "support/TlsServer.h"

#include <gmock/gmock.h>

using namespace fenlo;
using fenlo::test::TlsServer;
using ::testing::HasSubstr;

namespace {

HttpResponse get(const std::string& url, const std::string& roots) {
    CurlHttpClient::Options options;
    options.trustedRoots = roots;
    CurlHttpClient client(options);
    HttpRequest request;
    request.url = url;
    request.timeout = 20;
    return client.send(request, {});
}

std::string tlsFault(const std::string& url, const std::string& roots) {
    try {
        get(url, roots);
    } catch (const HttpError& error) {
        EXPECT_EQ(error.kind, HttpError::Kind::tls) << error.what();
        return error.what();
    }
    return "an answer came";
}

} // namespace

TEST(CurlTls, TrustsOnlyCertificatesOfKnownRootsForTheRightHost) {
    const TlsServer server;
    const std::string port = std::to_string(server.port);
    EXPECT_EQ(get("https://127.0.0.1:" + port, server.certificate).body, "fine");
    EXPECT_THAT(tlsFault("https://127.0.0.1:" + port, ""), HasSubstr("no secure connection to 127.0.0.1:" + port));
    EXPECT_THAT(tlsFault("https://localhost:" + port, server.certificate), HasSubstr("localhost"));
}
