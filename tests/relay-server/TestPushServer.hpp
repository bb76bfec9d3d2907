#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "TestAuthority.hpp"

namespace tallyfox::server::testing {

struct PushRequest {
  std::string method;
  std::string target;
  std::map<std::string, std::string> headers;  ///< names in lower case
  std::string body;
};

/// A push service of one test on loopback, behind TLS. What it does not check itself, its requests show.
class TestPushServer {
 public:
  /// An answer that never comes.
  static constexpr const char* silence = "";

  explicit TestPushServer(const TestAuthority::Issued& issued);
  ~TestPushServer();

  [[nodiscard]] std::uint16_t port() const;
  [[nodiscard]] std::string endpoint(const std::string& path) const {
    return "https://localhost:" + std::to_string(port()) + path;
  }
  /// The next answer in full: after those, 201 to everything.
  void answerWith(std::string answer);
  /// The next request that came; its method is empty when none comes.
  [[nodiscard]] PushRequest next();
  /// Requests that came and were not taken yet.
  [[nodiscard]] std::size_t waiting() const;
  /// The greatest number of connections at once.
  [[nodiscard]] std::size_t greatestConnections() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// What a push service learns from an `Authorization` header whose signature is good; empty otherwise.
struct VapidClaims {
  std::string header;  ///< JSON
  std::string claims;  ///< JSON
  std::string key;     ///< base64url
};
[[nodiscard]] VapidClaims verifiedVapid(const std::string& authorization);

}  // namespace tallyfox::server::testing
