#include "support/TlsServer.h"

#include "support/WaitUntil.h"

#include <cstdlib>
#include <httplib.h>
#include <stdexcept>

namespace fenlo::test {

TlsServer::TlsServer() {
    const std::string make = "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=fenlo "
                             "-addext subjectAltName=IP:127.0.0.1 -keyout '" +
                             key + "' -out '" + certificate + "' 2>/dev/null";
    if (std::system(make.c_str()) != 0)
        throw std::runtime_error("openssl made no certificate");
    m_server = std::make_unique<httplib::SSLServer>(certificate.c_str(), key.c_str());
    m_server->Get("/",
                  [](const httplib::Request&, httplib::Response& answer) { answer.set_content("fine", "text/plain"); });
    m_server->set_keep_alive_max_count(1);
    port = m_server->bind_to_any_port("127.0.0.1");
    m_listening = std::thread([this] { m_server->listen_after_bind(); });
    if (!waitUntil(60, [this] { return m_server->is_running(); }))
        throw std::runtime_error("the TLS server does not start");
}

TlsServer::~TlsServer() {
    m_server->stop();
    m_listening.join();
}

} // namespace fenlo::test
