// Shows that real sockets keep to what the seam promises of WebSocket connections and HTTP requests.

#include <thread>

#include "contract/HttpClientContract.hpp"
#include "contract/NetworkServers.hpp"
#include "contract/WebSocketTransportContract.hpp"
#include "platform/linux/BeastHttpClient.hpp"
#include "platform/linux/BeastWebSocketTransport.hpp"
#include "platform/linux/LinuxClock.hpp"

namespace tallyfox::contract {
namespace {

class RealTime {
 public:
  bool waitUntil(const std::function<bool()>& condition) { return testing_network::waitUntil(condition); }
  void pass(Seconds duration) { linux_os::LinuxClock().sleep(duration); }
  void onAnotherThread(const std::function<void()>& work) { std::thread(work).join(); }
};

class BeastWebSocketBackend : public RealTime {
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
  linux_os::NetworkThread network_;
  linux_os::BeastWebSocketTransport transport_{network_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, WebSocketTransportContract, BeastWebSocketBackend);

class BeastHttpBackend : public RealTime {
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
  linux_os::NetworkThread network_;
  linux_os::BeastHttpClient http_{network_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, HttpClientContract, BeastHttpBackend);

}  // namespace
}  // namespace tallyfox::contract
