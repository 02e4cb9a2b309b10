#include "platform/linux/net/CurlHttpClient.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <httplib.h>
#include <thread>

using namespace fenlo;
using ::testing::HasSubstr;

namespace {

/// A server whose certificate names 127.0.0.1 and is signed by nobody but itself.
class TlsServer {
public:
    TlsServer() {
        const std::string make = "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=fenlo "
                                 "-addext subjectAltName=IP:127.0.0.1 -keyout '" +
                                 key + "' -out '" + certificate + "' 2>/dev/null";
        if (std::system(make.c_str()) != 0)
            throw std::runtime_error("openssl made no certificate");
        m_server = std::make_unique<httplib::SSLServer>(certificate.c_str(), key.c_str());
        m_server->Get(
            "/", [](const httplib::Request&, httplib::Response& answer) { answer.set_content("fine", "text/plain"); });
        m_server->set_keep_alive_max_count(1);
        port = m_server->bind_to_any_port("127.0.0.1");
        m_listening = std::thread([this] { m_server->listen_after_bind(); });
        while (!m_server->is_running())
            std::this_thread::yield();
    }
    ~TlsServer() {
        m_server->stop();
        m_listening.join();
    }

    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    const std::string key = folder / "key.pem";
    const std::string certificate = folder / "certificate.pem";
    int port = 0;

private:
    std::unique_ptr<httplib::SSLServer> m_server;
    std::thread m_listening;
};

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
