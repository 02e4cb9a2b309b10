#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <thread>

namespace httplib {
class SSLServer;
}

namespace fenlo::test {

/// A server with a self-signed certificate for 127.0.0.1. It answers "fine" to GET /.
class TlsServer {
public:
    TlsServer();
    ~TlsServer();
    TlsServer(const TlsServer&) = delete;
    TlsServer& operator=(const TlsServer&) = delete;

    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    const std::string key = folder / "key.pem";
    const std::string certificate = folder / "certificate.pem";
    int port = 0;

private:
    std::unique_ptr<httplib::SSLServer> m_server;
    std::thread m_listening;
};

} // namespace fenlo::test
