#pragma once

#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/Date.hpp"
#include "platform/WebSocketTransport.hpp"

namespace tallyfox {

struct HttpRequest {
  std::string method;
  std::string url;  ///< http or https; certificates and host names are verified
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  Seconds timeout{8};  ///< for the whole exchange
};

struct HttpResponse {
  int status = 0;
};

/// Destroying it abandons the request; no completion follows the destructor.
class HttpExchange {
 public:
  virtual ~HttpExchange() = default;
};

class HttpClient {
 public:
  virtual ~HttpClient() = default;
  /// Sends and returns at once. `completion` runs once on the client's own thread and must only post. No response
  /// (refused, reset, timed out, not HTTP) is a TransportError. Redirects are not followed. Any thread.
  [[nodiscard]] virtual std::unique_ptr<HttpExchange> send(
      const HttpRequest& request, std::function<void(std::expected<HttpResponse, TransportError>)> completion) = 0;
};

}  // namespace tallyfox
