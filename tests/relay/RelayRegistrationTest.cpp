// Registering the relay token: the one request that goes out and what each answer means.

#include "relay/RelayRegistration.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Json.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox {
namespace {

using Outcome = std::expected<void, RelayRegistrationError>;
using Kind = RelayRegistrationError::Kind;

class RelayRegistration : public testing::Test {
 protected:
  void registerAt(const std::string& relayURL, const std::string& pairingID = "tallyfox-1") {
    exchange = registerRelayAuthToken(network.http(), {relayURL, pairingID}, "token",
                                      [this](Outcome outcome) { outcomes.push_back(std::move(outcome)); });
  }
  Outcome answered(std::expected<HttpResponse, TransportError> response) {
    registerAt("wss://relay.example.com");
    network.answer(network.requests().size() - 1, std::move(response));
    time.runDue();
    return outcomes.at(0);
  }

  memory::VirtualTime time;
  memory::MemoryNetwork network{time.makeQueue("http")};
  std::vector<Outcome> outcomes;
  std::unique_ptr<HttpExchange> exchange;
};

TEST_F(RelayRegistration, putsTheTokenToThePairingsResource) {
  registerAt("wss://relay.example.com:8443/socket?query#fragment");
  ASSERT_EQ(network.requests().size(), 1U);
  const HttpRequest& request = network.requests()[0].request;
  EXPECT_EQ(request.method, "PUT");
  EXPECT_EQ(request.url, "https://relay.example.com:8443/api/pairings/tallyfox-1/relay-token");
  const std::vector<std::pair<std::string, std::string>> headers = {{"content-type", "application/json"},
                                                                    {"authorization", "Bearer token"}};
  EXPECT_EQ(request.headers, headers);
  EXPECT_EQ(parsedJson(request.body), (Json{{"client", "mac"}, {"version", 1}}));
  EXPECT_EQ(request.timeout, Seconds(8));
}

TEST_F(RelayRegistration, goesOverPlainHttpForAnUnencryptedRelay) {
  registerAt("ws://[::1]:8080");
  EXPECT_EQ(network.requests().at(0).request.url, "http://[::1]:8080/api/pairings/tallyfox-1/relay-token");
}

TEST_F(RelayRegistration, succeedsForEveryTwoHundredStatus) {
  for (const int status : {200, 204, 299}) {
    outcomes.clear();
    EXPECT_TRUE(answered(HttpResponse{status}).has_value()) << status;
  }
}

TEST_F(RelayRegistration, tellsARevokedPairing) {
  const Outcome outcome = answered(HttpResponse{410});
  ASSERT_FALSE(outcome.has_value());
  EXPECT_EQ(outcome.error().kind, Kind::pairingRevoked);
  EXPECT_EQ(outcome.error().description(), "This pairing was revoked.");
}

TEST_F(RelayRegistration, tellsARejectionWithItsStatus) {
  for (const int status : {100, 199, 300, 302, 401, 500}) {
    outcomes.clear();
    const Outcome outcome = answered(HttpResponse{status});
    ASSERT_FALSE(outcome.has_value()) << status;
    EXPECT_EQ(outcome.error().kind, Kind::rejected);
    EXPECT_EQ(outcome.error().status, status);
    EXPECT_EQ(outcome.error().description(),
              "The relay rejected token registration with HTTP " + std::to_string(status) + ".");
  }
}

TEST_F(RelayRegistration, passesATransportErrorOn) {
  const Outcome outcome = answered(std::unexpected(TransportError{"Connection refused."}));
  ASSERT_FALSE(outcome.has_value());
  EXPECT_EQ(outcome.error().kind, Kind::transport);
  EXPECT_EQ(outcome.error().description(), "Connection refused.");
}

TEST_F(RelayRegistration, failsWhenTheRelayDoesNotAnswerInEightSeconds) {
  registerAt("wss://relay.example.com");
  time.advance(Seconds(7.9));
  EXPECT_TRUE(outcomes.empty());
  time.advance(Seconds(0.2));
  ASSERT_EQ(outcomes.size(), 1U);
  EXPECT_EQ(outcomes[0].error().kind, Kind::transport);
}

TEST_F(RelayRegistration, refusesAnAddressThatIsNoneBeforeAnyTraffic) {
  for (const char* address :
       {"wss://relay example.com", "wss://relay.example.com:port", "", "relay.example.com", "wss:"}) {
    outcomes.clear();
    registerAt(address);
    ASSERT_EQ(outcomes.size(), 1U) << address;
    EXPECT_EQ(outcomes[0].error().kind, Kind::invalidRelayURL);
    EXPECT_EQ(outcomes[0].error().description(), "The relay URL is not valid.");
    EXPECT_EQ(exchange, nullptr);
  }
  EXPECT_TRUE(network.requests().empty());
}

TEST_F(RelayRegistration, refusesAPairingThatCannotStandInAnAddress) {
  for (const char* pairing : {"a b", "a?b", "a#b", "ä", "%"}) {
    outcomes.clear();
    registerAt("wss://relay.example.com", pairing);
    ASSERT_EQ(outcomes.size(), 1U) << pairing;
    EXPECT_EQ(outcomes[0].error().kind, Kind::invalidRelayURL);
  }
  EXPECT_TRUE(network.requests().empty());
}

TEST_F(RelayRegistration, isAbandonedWithItsExchange) {
  registerAt("wss://relay.example.com");
  exchange.reset();
  EXPECT_TRUE(network.requests().at(0).isAbandoned);
  time.advance(Seconds(60));
  EXPECT_TRUE(outcomes.empty());
}

TEST_F(RelayRegistration, completesOnceOnTheClientsOwnThread) {
  network.answerAll(HttpResponse{204});
  registerAt("wss://relay.example.com");
  EXPECT_TRUE(outcomes.empty());
  time.advance(Seconds(60));
  EXPECT_EQ(outcomes.size(), 1U);
}

TEST(RelayRegistrationError, describesAResponseThatIsNone) {
  RelayRegistrationError error;
  error.kind = Kind::invalidResponse;
  EXPECT_EQ(error.description(), "The relay did not return a valid registration response.");
}

}  // namespace
}  // namespace tallyfox
