#pragma once

#include <memory>

#include "platform/HttpClient.hpp"

namespace tallyfox::mac_os {

/// HTTP by the system's URL sessions, one session a request. An answer is complete with its head: bodies are not read.
/// Completions run on a serial queue of the client's own. Exchanges may outlive the client.
class URLSessionHttpClient : public HttpClient {
 public:
  URLSessionHttpClient();
  ~URLSessionHttpClient() override;
  std::unique_ptr<HttpExchange> send(
      const HttpRequest& request, std::function<void(std::expected<HttpResponse, TransportError>)> completion) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
