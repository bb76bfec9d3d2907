// Shows that the network in memory, with the test playing the servers, keeps to what real transports promise.

#include <map>

#include "contract/HttpClientContract.hpp"
#include "contract/WebSocketTransportContract.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::contract {
namespace {

/// Lets time pass with a server at work: it acts before every look at the condition.
class MemoryServer {
 public:
  virtual ~MemoryServer() = default;
  bool waitUntil(const std::function<bool()>& condition) { return run(condition, Seconds{5}); }
  void pass(Seconds duration) {
    run([] { return false; }, duration);
  }
  void onAnotherThread(const std::function<void()>& work) {
    bool isDone = false;
    other_->post([&] {
      work();
      isDone = true;
    });
    EXPECT_TRUE(waitUntil([&] { return isDone; }));
  }

 protected:
  virtual void serve() = 0;

  memory::VirtualTime time;
  memory::MemoryNetwork network{time.makeQueue("transport")};

 private:
  bool run(const std::function<bool()>& condition, Seconds limit) {
    return time.advanceUntil(
        [&] {
          serve();
          return condition();
        },
        limit);
  }

  std::shared_ptr<SerialQueue> other_ = time.makeQueue("other");
};

class MemoryWebSocketBackend : public MemoryServer {
 public:
  WebSocketTransport& transport() { return network.webSockets(); }
  std::string echoUrl() { return "ws://echo"; }
  std::string refusingUrl() { return "ws://refusing"; }
  std::string silentUrl() { return "ws://silent"; }
  std::optional<std::string> requestHeader(const std::string& lowerCaseName) {
    for (const auto& [name, value] : newest().request.headers)
      if (name == lowerCaseName) return value;
    return std::nullopt;
  }
  std::optional<std::uint16_t> closeCode() { return newest().closeCode; }
  void sendFromServer(const std::string& text) { network.deliver(newest().number, text); }
  void closeFromServer() { network.close(newest().number); }

 protected:
  void serve() override {
    for (std::size_t number = 0; number < network.sockets().size(); ++number) {
      const std::string url = network.sockets()[number].request.url;
      if (url == refusingUrl()) network.refuse(number);
      if (url == echoUrl()) network.open(number);
      const std::vector<std::string> sent = network.sockets()[number].sent;
      for (std::size_t& done = echoed_[number]; done < sent.size(); ++done)
        network.deliver(number, sent[done]);
    }
  }

 private:
  [[nodiscard]] const memory::MemoryNetwork::Socket& newest() const { return network.sockets().back(); }

  std::map<std::size_t, std::size_t> echoed_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, WebSocketTransportContract, MemoryWebSocketBackend);

class MemoryHttpBackend : public MemoryServer {
 public:
  HttpClient& http() { return network.http(); }
  std::string url(int status) { return "http://server/" + std::to_string(status); }
  std::string refusingUrl() { return "http://refusing"; }
  std::string silentUrl() { return "http://silent"; }
  std::string brokenUrl() { return "http://broken"; }
  std::vector<HttpRequest> received() {
    std::vector<HttpRequest> requests;
    for (const auto& request : network.requests())
      requests.push_back(request.request);
    return requests;
  }

 protected:
  void serve() override {
    for (std::size_t number = 0; number < network.requests().size(); ++number) {
      const std::string address = network.requests()[number].request.url;
      if (address == refusingUrl()) network.answer(number, std::unexpected(TransportError{"Connection refused."}));
      if (address == brokenUrl()) network.answer(number, std::unexpected(TransportError{"The answer is not HTTP."}));
      if (address.starts_with("http://server/"))
        network.answer(number, HttpResponse{.status = std::stoi(address.substr(address.rfind('/') + 1))});
    }
  }
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, HttpClientContract, MemoryHttpBackend);

}  // namespace
}  // namespace tallyfox::contract
