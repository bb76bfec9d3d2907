// What a relay tells Prometheus after known traffic, where it tells it, and that promtool finds it right.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include "Exposition.hpp"
#include "LiveRelay.hpp"

namespace tallyfox::server {
namespace {

using testing::askedOver;
using testing::Exposition;
using ::testing::HasSubstr;
using testing::LiveRelay;
using testing::registered;
using testing::TemporaryDirectory;
using testing::TestPhone;
using testing::TestSocket;
namespace message = testing::message;

class MetricsTest : public ::testing::Test {
 protected:
  static RelayOptions withMetrics() {
    RelayOptions options;
    options.metrics = ListenAddress{.address = "127.0.0.1", .port = 0};
    return options;
  }
  [[nodiscard]] std::string text() const {
    return askedOver(relay.metricsPort(), "GET /metrics HTTP/1.1\r\nHost: relay\r\n\r\n").body;
  }
  [[nodiscard]] double value(const std::string& sample) const {
    const auto told = Exposition::parsed(text());
    if (!told) throw std::runtime_error(told.error());
    return told->value("tallyfox_relay_" + sample);
  }

  TemporaryDirectory directory;
  LiveRelay relay{directory.path(), {}, withMetrics()};
};

TEST_F(MetricsTest, countKnownTraffic) {
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  ASSERT_EQ(registered(relay.port(), "P1", "other").status, 401U);
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(false));
  phone.send(message::request("R0"));
  EXPECT_EQ(phone.next(), message::undeliverable("R0"));
  TestSocket agent(relay.port(), "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  EXPECT_EQ(phone.next(), message::agentStatus(true));
  const std::string snapshot = message::snapshot("ax1:1");
  agent.send(snapshot);
  EXPECT_EQ(phone.next(), snapshot);
  phone.send(message::request("R1"));
  EXPECT_EQ(agent.next(), message::request("R1"));
  TestPhone wrong(relay.port(), "P1", "wrong", "D2");
  EXPECT_EQ(wrong.next(), "closed 4401");
  agent.close();
  EXPECT_EQ(phone.next(), message::agentStatus(false));

  const auto told = Exposition::parsed(text());
  ASSERT_TRUE(told) << told.error();
  const std::vector<std::pair<std::string, double>> expected{
      {"sockets{peer=\"phone\"}", 1},
      {"sockets{peer=\"agent\"}", 0},
      {"sockets_opened_total{peer=\"agent\"}", 1},
      {"connections_total", 5},
      {"pairings_active", 1},
      {"snapshot_bytes", static_cast<double>(snapshot.size())},
      {"frames_total{direction=\"in\",type=\"mac.snapshot\"}", 1},
      {"frames_total{direction=\"out\",type=\"mac.snapshot\"}", 1},
      {"frame_bytes_total{direction=\"in\",type=\"mac.snapshot\"}", static_cast<double>(snapshot.size())},
      {"frames_total{direction=\"in\",type=\"approval.request\"}", 2},
      {"frames_total{direction=\"out\",type=\"approval.request\"}", 1},
      {"frames_total{direction=\"in\",type=\"phone.hello\"}", 2},
      {"frames_total{direction=\"out\",type=\"agent.status\"}", 2},
      {"undeliverables_total{reason=\"no_agent\"}", 1},
      {"undeliverables_total{reason=\"agent_not_reading\"}", 0},
      {"http_responses_total{status=\"204\"}", 1},
      {"http_responses_total{status=\"401\"}", 1},
      {"http_responses_total{status=\"101\"}", 3},
      {"closes_total{by=\"relay\",code=\"4401\"}", 1},
      {"closes_total{by=\"peer\",code=\"1000\"}", 1},
      {"handshake_seconds_count", 3},
      {"frame_seconds_count{peer=\"agent\"}", 1},
      {"frame_seconds_count{peer=\"phone\"}", 2},
      {"storage_failures_total", 0},
  };
  for (const auto& [sample, count] : expected)
    EXPECT_EQ(told->value("tallyfox_relay_" + sample), count) << sample;
  EXPECT_GT(told->value("tallyfox_relay_storage_seconds_count{task=\"read\"}"), 0);
  EXPECT_GT(told->value("tallyfox_relay_storage_seconds_count{task=\"write\"}"), 0);
}

TEST_F(MetricsTest, countSlowConsumersAndLostSockets) {
  RelayLimits limits;
  limits.outgoingFrames = 2;
  const TemporaryDirectory other;
  LiveRelay strict(other.path(), limits, withMetrics());
  const auto told = [&](const std::string& sample) {
    const auto read =
        Exposition::parsed(askedOver(strict.metricsPort(), "GET /metrics HTTP/1.1\r\nHost: relay\r\n\r\n").body);
    return read ? read->value("tallyfox_relay_" + sample) : -1;
  };
  ASSERT_EQ(registered(strict.port(), "P1", "token").status, 204U);
  TestSocket agent(strict.port(), "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  {
    TestPhone phone(strict.port(), "P1", "token", "D1");
    EXPECT_EQ(phone.next(), message::welcome(true));
    EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
    for (int index = 0; index < 10; ++index)
      agent.send(message::snapshot("ax1:" + std::to_string(index), std::string(4'000'000, 'x')));
    EXPECT_THAT(agent.next(), HasSubstr("\"connected\":false"));
  }
  EXPECT_EQ(told("slow_consumers_total"), 1);
  EXPECT_EQ(told("closes_total{by=\"relay\",code=\"4008\"}"), 1);
  {
    const TestPhone lost(strict.port(), "P1", "token", "D2");
    EXPECT_THAT(agent.next(), HasSubstr("\"connected\":true"));
  }
  EXPECT_THAT(agent.next(), HasSubstr("\"phoneConnected\":false"));
  EXPECT_EQ(told("cuts_total"), 1);
}

TEST_F(MetricsTest, areOnTheirOwnAddressAlone) {
  const auto asked = [&](std::uint16_t port, const std::string& line) {
    return askedOver(port, line + " HTTP/1.1\r\nHost: relay\r\n\r\n");
  };
  EXPECT_EQ(asked(relay.port(), "GET /metrics").status, 404U);
  EXPECT_EQ(asked(relay.metricsPort(), "GET /metrics?a=b").status, 200U);
  EXPECT_EQ(asked(relay.metricsPort(), "HEAD /metrics"), (testing::HttpAnswer{.status = 200}));
  EXPECT_EQ(asked(relay.metricsPort(), "GET /healthz"), (testing::HttpAnswer{.status = 200, .body = "ok\n"}));
  EXPECT_EQ(asked(relay.metricsPort(), "POST /metrics").status, 405U);
  EXPECT_EQ(asked(relay.metricsPort(), "GET /").status, 404U);
  EXPECT_EQ(asked(relay.metricsPort(), "PUT /api/pairings/P1/relay-token").status, 404U);
}

TEST_F(MetricsTest, arePleasingToPromtool) {
  if (std::system("command -v promtool >/dev/null") != 0) GTEST_SKIP() << "promtool is not installed";
  const auto file = directory.path() / "metrics";
  std::ofstream(file) << text();
  const std::string command = "promtool check metrics < " + file.string() + " 2>&1";
  const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
  std::string findings;
  for (int character = 0; (character = std::fgetc(output.get())) != EOF;)
    findings += static_cast<char>(character);
  EXPECT_EQ(findings, "");
}

}  // namespace
}  // namespace tallyfox::server
