#pragma once

#include <memory>

#include "platform/HttpClient.hpp"
#include "platform/linux/NetworkThread.hpp"

namespace tallyfox::linux_os {

/// HTTP/1.1, one connection a request. An answer is complete with its head: bodies are not read. Exchanges may outlive
/// the network thread; their completions then do not run.
class BeastHttpClient : public HttpClient {
 public:
  explicit BeastHttpClient(NetworkThread& network) : core_(network.core()) {}
  std::unique_ptr<HttpExchange> send(
      const HttpRequest& request, std::function<void(std::expected<HttpResponse, TransportError>)> completion) override;

 private:
  std::weak_ptr<NetworkCore> core_;
};

}  // namespace tallyfox::linux_os
