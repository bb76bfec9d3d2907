#include "platform/linux/NetworkThread.hpp"

#include <openssl/ssl.h>

#include <boost/asio/executor_work_guard.hpp>

#include "platform/linux/WorkerThread.hpp"

namespace tallyfox::linux_os {

NetworkCore::NetworkCore(ProxySettings proxySettings) : proxies(std::move(proxySettings)) {
  ::SSL_CTX_set_min_proto_version(tls.native_handle(), TLS1_2_VERSION);
  tls.set_verify_mode(boost::asio::ssl::verify_peer);
  // Without a readable trust store no certificate verifies, which each connection then says.
  boost::system::error_code ignored;
  tls.set_default_verify_paths(ignored);
}

NetworkThread::NetworkThread(ProxySettings proxies) : core_(std::make_shared<NetworkCore>(std::move(proxies))) {
  thread_ = startWorkerThread("network", [core = core_.get()] {
    const auto guard = boost::asio::make_work_guard(core->context);
    core->context.run();
  });
}

NetworkThread::~NetworkThread() {
  core_->context.stop();
  thread_.join();
}

}  // namespace tallyfox::linux_os
