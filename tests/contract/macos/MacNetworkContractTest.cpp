// Shows that the system's URL sessions keep to what the seam promises of WebSocket connections and HTTP requests.

#include "contract/HttpClientContract.hpp"
#include "contract/NetworkServers.hpp"
#include "contract/WebSocketTransportContract.hpp"
#include "contract/macos/RealTime.hpp"
#include "platform/macos/URLSessionHttpClient.hpp"
#include "platform/macos/URLSessionWebSocketTransport.hpp"

namespace tallyfox::contract {
namespace {

class URLSessionWebSocketBackend : public RealTime {
 public:
  WebSocketTransport& transport() { return transport_; }
  std::string echoUrl() { return "ws://" + server_.authority() + "/socket"; }
  std::string refusingUrl() { return "ws://" + refusing_.authority(); }
  std::string silentUrl() { return "ws://" + silent_.authority(); }
  std::optional<std::string> requestHeader(const std::string& lowerCaseName) {
    return server_.requestHeader(lowerCaseName);
  }
  std::optional<std::uint16_t> closeCode() { return server_.closeCode(); }
  void sendFromServer(const std::string& text) { server_.send(text); }
  void closeFromServer() { server_.close(); }

 private:
  EchoServer server_;
  testing_network::SilentServer silent_;
  testing_network::RefusingPort refusing_;
  mac_os::URLSessionWebSocketTransport transport_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, WebSocketTransportContract, URLSessionWebSocketBackend);

class URLSessionHttpBackend : public RealTime {
 public:
  HttpClient& http() { return http_; }
  std::string url(int status) { return server_.url(status); }
  std::string refusingUrl() { return "http://" + refusing_.authority(); }
  std::string silentUrl() { return "http://" + silent_.authority(); }
  std::string brokenUrl() { return "http://" + broken_.authority(); }
  std::vector<HttpRequest> received() { return server_.received(); }

 private:
  StatusServer server_;
  testing_network::LoopbackServer broken_{testing_network::answeringWith("220 mail.example ready\r\n\r\n")};
  testing_network::SilentServer silent_;
  testing_network::RefusingPort refusing_;
  mac_os::URLSessionHttpClient http_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, HttpClientContract, URLSessionHttpBackend);

}  // namespace
}  // namespace tallyfox::contract
