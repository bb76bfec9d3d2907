#pragma once

#include <stdlib.h>

#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <memory>
#include <string>

#include "contract/Recorder.hpp"
#include "platform/LoopbackServers.hpp"
#include "platform/TemporaryFolder.hpp"
#include "platform/TestCertificates.hpp"
#include "platform/linux/NetworkThread.hpp"

namespace tallyfox::testing_network {

using TlsSocket = boost::asio::ssl::stream<Tcp::socket>;

/// A network thread that trusts one authority alone, named by SSL_CERT_FILE as an owner would.
class TrustingNetwork {
 public:
  explicit TrustingNetwork(const TestCertificate& authority, linux_os::ProxySettings proxies = {}) {
    writeFile(folder_ / "authority.pem", authority.certificatePem());
    ::setenv("SSL_CERT_FILE", (folder_ / "authority.pem").c_str(), 1);
    network_ = std::make_unique<linux_os::NetworkThread>(std::move(proxies));
    ::unsetenv("SSL_CERT_FILE");
  }
  [[nodiscard]] linux_os::NetworkThread& network() { return *network_; }

 private:
  TemporaryFolder folder_;
  std::unique_ptr<linux_os::NetworkThread> network_;
};

/// Serves each connection over TLS with this certificate.
inline LoopbackServer::Handler overTls(const TestCertificate& certificate, std::function<void(TlsSocket&)> handler,
                                       int highestVersion = TLS1_3_VERSION) {
  auto context = std::make_shared<boost::asio::ssl::context>(boost::asio::ssl::context::tls_server);
  context->use_certificate_chain(boost::asio::buffer(certificate.certificatePem()));
  context->use_private_key(boost::asio::buffer(certificate.keyPem()), boost::asio::ssl::context::pem);
  SSL_CTX_set_security_level(context->native_handle(), 0);
  SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_VERSION);
  SSL_CTX_set_max_proto_version(context->native_handle(), highestVersion);
  return [context, handler = std::move(handler)](Tcp::socket socket) {
    TlsSocket stream(std::move(socket), *context);
    stream.handshake(boost::asio::ssl::stream_base::server);
    handler(stream);
    boost::system::error_code ignored;
    stream.shutdown(ignored);
  };
}

inline std::string localhostPort(const LoopbackServer& server) {
  return "localhost:" + server.port();
}

}  // namespace tallyfox::testing_network
