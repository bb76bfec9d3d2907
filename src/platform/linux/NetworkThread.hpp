#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <memory>
#include <thread>

#include "platform/linux/ProxySettings.hpp"

namespace tallyfox::linux_os {

/// What the connections of one NetworkThread share: the loop that serves them and the TLS settings (TLS 1.2 or newer,
/// certificates checked against the system's trust store, or the file that SSL_CERT_FILE names), and the proxies.
struct NetworkCore {
  explicit NetworkCore(ProxySettings proxySettings);
  ProxySettings proxies;
  boost::asio::io_context context{1};
  boost::asio::ssl::context tls{boost::asio::ssl::context::tls_client};
};

/// The one thread on which all sockets are served and all their callbacks run. With it end all its connections, without
/// further callbacks. The destructor waits for a name look-up that is under way.
class NetworkThread {
 public:
  explicit NetworkThread(ProxySettings proxies = {});
  ~NetworkThread();
  NetworkThread(const NetworkThread&) = delete;
  NetworkThread& operator=(const NetworkThread&) = delete;

  /// For connections: they keep it weakly, as they may be destroyed later than this thread.
  [[nodiscard]] const std::shared_ptr<NetworkCore>& core() const { return core_; }

 private:
  std::shared_ptr<NetworkCore> core_;
  std::thread thread_;
};

}  // namespace tallyfox::linux_os
