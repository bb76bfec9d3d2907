#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace tallyfox::server::testing {

/// A client of the relay's own TLS that trusts one authority; no wait of it is endless.
class TlsTestClient {
 public:
  struct Options {
    int greatestVersion = 0;     ///< as OpenSSL numbers them; 0 for any
    std::string protocols = "";  ///< offered by ALPN, in its wire form
  };
  /// Connects and shakes hands; `failure` tells what went wrong.
  TlsTestClient(std::uint16_t port, const std::filesystem::path& authority, const Options& options);
  TlsTestClient(std::uint16_t port, const std::filesystem::path& authority)
      : TlsTestClient(port, authority, Options{}) {}
  ~TlsTestClient();

  [[nodiscard]] std::string version() const;
  [[nodiscard]] std::string protocol() const;
  /// Of the relay's certificate.
  [[nodiscard]] std::string peerName() const;

  void write(const std::string& text);
  /// Ends our direction of the connection, without a word of TLS.
  void shutdownSend();
  /// Everything up to and with this text; what came when it does not.
  [[nodiscard]] std::string readUntil(const std::string& end);
  /// Everything until the relay closes; absent when it does not.
  [[nodiscard]] std::optional<std::string> readToEnd();

  /// Becomes a WebSocket, of an agent or, without a token, of a phone. The status of the answer.
  [[nodiscard]] unsigned upgrade(const std::string& path, const std::string& token = "");
  void send(const std::string& frame);
  /// As TestSocket's.
  [[nodiscard]] std::string next();
  /// Drops the connection.
  void cut();

  std::string failure;  ///< empty after a good handshake

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tallyfox::server::testing
