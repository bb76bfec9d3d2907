#include "ConformanceTest.hpp"

#include <gmock/gmock.h>

namespace tallyfox::server::conformance {

namespace message = testing::message;
using ::testing::HasSubstr;
using ::testing::StartsWith;

RelayLimits ConformanceTest::generous() {
  RelayLimits limits;
  const Rate any{.burst = 1e9, .perSecond = 1e9};
  limits.connectionsPerAddress = limits.requestsPerAddress = limits.registrationsPerAddress = any;
  limits.agentConnectionsPerPairing = any;
  limits.phoneRate = limits.agentRate = {.frames = any, .bytes = any};
  return limits;
}

ConformanceTest::ConformanceTest(const RelayLimits& limits) : relay(directory.path(), limits) {
  EXPECT_EQ(testing::registered(relay.port(), "P1", "token").status, 204U);
  bystander_ = std::make_unique<RawClient>(opened());
  bystander_->send(textFrame(message::hello("P1", "token", "bystander", "Bystander")));
  EXPECT_EQ(bystander_->next(), message::welcome(false));
}

RawClient ConformanceTest::opened(const std::string& path) {
  RawClient client(relay.port());
  client.send(
      Handshake{.requestLine = "GET " + path + " HTTP/1.1", .others = "authorization: Bearer token\r\n"}.text());
  EXPECT_THAT(client.httpAnswer(), StartsWith("HTTP/1.1 101 "));
  return client;
}

RawClient ConformanceTest::phone() {
  RawClient client = opened();
  client.send(textFrame(message::hello("P1", "token", "D1", "Name of D1")));
  EXPECT_EQ(client.next(), message::welcome(false));
  return client;
}

RawClient ConformanceTest::agent() {
  RawClient client = opened("/");
  EXPECT_THAT(client.next(), HasSubstr("phone.status"));
  EXPECT_EQ(bystander_->next(), message::agentStatus(true));
  return client;
}

void ConformanceTest::expectUndisturbed() {
  const std::string id = "bystander-" + std::to_string(++roundTrips_);
  bystander_->send(textFrame(decision(id)));
  std::string answer = bystander_->next();
  // An agent that was under test has spoken to it and gone.
  while (answer == message::agentStatus(false) || answer.contains("approval.result"))
    answer = bystander_->next();
  EXPECT_EQ(answer, undelivered(id));
}

void ConformanceTest::expectAnswers(const std::vector<Case>& cases) {
  for (const Case& each : cases) {
    SCOPED_TRACE(std::string(each.section) + ": " + each.what);
    RawClient client = phone();
    client.send(each.bytes);
    EXPECT_EQ(client.rest(), each.answer);
    expectUndisturbed();
  }
}

std::string goodbye() {
  return controlFrame(opcode::close, closePayload(1000));
}

std::string decision(const std::string& id, const std::string& padding) {
  return R"({"type":"approval.request","decisionID":")" + id + R"(","encryptedRequest":)" + message::sealed +
         R"(,"padding":")" + padding + R"("})";
}

std::string undelivered(const std::string& id) {
  return message::undeliverable(id);
}

}  // namespace tallyfox::server::conformance
