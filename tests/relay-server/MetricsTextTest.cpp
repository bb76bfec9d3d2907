// The text format: what is written is what a strict reader of it takes, and that the reader is strict.
#include "metrics/MetricsText.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "Exposition.hpp"
#include "metrics/CodeCounter.hpp"
#include "metrics/FrameType.hpp"
#include "metrics/RelayMetrics.hpp"

namespace tallyfox::server {
namespace {

using namespace std::chrono_literals;
using testing::Exposition;
using ::testing::HasSubstr;

TEST(MetricsText, writesCountersAndGauges) {
  MetricsText text;
  text.counter("a_total", "All a.");
  text.sample({{"kind", "x"}, {"way", "in"}}, std::uint64_t{18'000'000'000'000'000'000U});
  text.gauge("b", "One b.");
  text.sample({}, 1.5);
  EXPECT_EQ(text.text(),
            "# HELP a_total All a.\n# TYPE a_total counter\na_total{kind=\"x\",way=\"in\"} 18000000000000000000\n"
            "# HELP b One b.\n# TYPE b gauge\nb 1.5\n");
}

TEST(MetricsText, escapesLabelsAndHelp) {
  MetricsText text;
  text.gauge("a", "A \\ and\na \"line\".");
  text.sample({{"b", "\"\\\n"}}, std::uint64_t{1});
  EXPECT_EQ(text.text(), "# HELP a A \\\\ and\\na \"line\".\n# TYPE a gauge\na{b=\"\\\"\\\\\\n\"} 1\n");
  EXPECT_TRUE(Exposition::parsed(text.text()));
}

TEST(MetricsText, writesHistogramsWithGrowingBuckets) {
  static constexpr std::array<Histogram::Duration, 3> bounds{1ms, 10ms, 2500ms};
  Histogram histogram(bounds);
  for (const auto& taken : std::initializer_list<Histogram::Duration>{0ns, 1ms, 1ms + 1ns, 2s, 1h})
    histogram.observe(taken);
  MetricsText text;
  text.histogram("a_seconds", "How long.");
  text.sample({{"peer", "agent"}}, histogram);
  EXPECT_THAT(text.text(), HasSubstr("a_seconds_bucket{peer=\"agent\",le=\"0.001\"} 2\n"
                                     "a_seconds_bucket{peer=\"agent\",le=\"0.01\"} 3\n"
                                     "a_seconds_bucket{peer=\"agent\",le=\"2.5\"} 4\n"
                                     "a_seconds_bucket{peer=\"agent\",le=\"+Inf\"} 5\n"
                                     "a_seconds_sum{peer=\"agent\"} 3602.002000001\n"
                                     "a_seconds_count{peer=\"agent\"} 5\n"));
  EXPECT_TRUE(Exposition::parsed(text.text())) << Exposition::parsed(text.text()).error();
}

TEST(MetricsText, isReadStrictly) {
  const std::string head = "# HELP a_total A.\n# TYPE a_total counter\n";
  const std::string histogram = "# HELP h A.\n# TYPE h histogram\n";
  for (const std::string& broken :
       {head + "a_total 1", head + "a_total x\n", head + "a_total{b=c} 1\n", head + "a_total{b=\"\\t\"} 1\n",
        head + "a_total 1\na_total 1\n", head + "b 1\n", head + "a_total -1\n", head + head, std::string("a 1\n"),
        std::string("# HELP a A.\na 1\n"), std::string("# HELP a A.\n# TYPE a counter\na 1\n"),
        std::string("# HELP a_total A.\n# TYPE a_total gauge\na_total 1\n"), std::string("# HELP a A.\n"),
        histogram + "h_bucket{le=\"1\"} 2\nh_bucket{le=\"+Inf\"} 1\nh_sum 1\nh_count 1\n",
        histogram + "h_bucket{le=\"1\"} 1\nh_bucket{le=\"2\"} 1\nh_sum 1\nh_count 1\n",
        histogram + "h_bucket{le=\"1\"} 1\nh_bucket{le=\"+Inf\"} 2\nh_sum 1\nh_count 1\n",
        histogram + "h_bucket{le=\"1\"} 1\nh_bucket{le=\"+Inf\"} 1\nh_sum 1\n"})
    EXPECT_FALSE(Exposition::parsed(broken)) << broken;
}

TEST(CodeCounter, countsUnknownCodesTogether) {
  static constexpr std::array<unsigned, 2> codes{1000, 4008};
  CodeCounter counter(codes);
  for (const unsigned code : {1000U, 4008U, 4008U, 3000U, 3001U})
    counter.add(code);
  EXPECT_EQ(counter.entries()[0].count, 1U);
  EXPECT_EQ(counter.entries()[1].count, 2U);
  EXPECT_EQ(counter.others(), 2U);
}

TEST(FrameTypes, areKnownByTheirNames) {
  EXPECT_EQ(frameTypeOf("mac.snapshot"), FrameType::macSnapshot);
  EXPECT_EQ(frameTypeOf("relay.restart"), FrameType::relayRestart);
  for (const char* name : {"malformed", "other", "", "mac.snapshot "})
    EXPECT_EQ(frameTypeOf(name), FrameType::other) << name;
}

TEST(RelayMetricsText, isWellFormedAndTellsEverything) {
  RelayMetrics metrics;
  metrics.frameIn(FrameType::macSnapshot, 1000);
  metrics.frameOut(FrameType::macSnapshot, 1000);
  metrics.frameOut(FrameType::macSnapshot, 1000);
  metrics.relayCloses.add(4008);
  metrics.peerCloses.add(3999);
  metrics.responses.add(429);
  metrics.sockets.add(RelayMetrics::Peer::phone);
  metrics.handshakeSeconds.observe(3ms);
  const auto told = Exposition::parsed(metrics.text({.unauthenticated = 7, .rooms = 3, .snapshotBytes = 12'345}));
  ASSERT_TRUE(told) << told.error();
  const std::vector<std::pair<std::string, double>> expected{
      {R"(tallyfox_relay_frames_total{direction="in",type="mac.snapshot"})", 1},
      {R"(tallyfox_relay_frames_total{direction="out",type="mac.snapshot"})", 2},
      {R"(tallyfox_relay_frame_bytes_total{direction="out",type="mac.snapshot"})", 2000},
      {R"(tallyfox_relay_closes_total{by="relay",code="4008"})", 1},
      {R"(tallyfox_relay_closes_total{by="peer",code="other"})", 1},
      {R"(tallyfox_relay_http_responses_total{status="429"})", 1},
      {R"(tallyfox_relay_sockets{peer="phone"})", 1},
      {R"(tallyfox_relay_sockets{peer="agent"})", 0},
      {"tallyfox_relay_unauthenticated_connections", 7},
      {"tallyfox_relay_pairings_active", 3},
      {"tallyfox_relay_snapshot_bytes", 12'345},
      {R"(tallyfox_relay_handshake_seconds_bucket{le="0.005"})", 1},
      {R"(tallyfox_relay_handshake_seconds_bucket{le="0.0025"})", 0},
  };
  for (const auto& [sample, value] : expected)
    EXPECT_EQ(told->value(sample), value) << sample;
}

TEST(RelayMetricsText, tellsOfThisProcess) {
  const auto told = Exposition::parsed(RelayMetrics().text({}));
  ASSERT_TRUE(told) << told.error();
  EXPECT_GT(told->value("process_resident_memory_bytes"), 1e6);
  EXPECT_GT(told->value("process_virtual_memory_bytes"), told->value("process_resident_memory_bytes"));
  EXPECT_GE(told->value("process_cpu_seconds_total"), 0);
  EXPECT_GE(told->value("process_open_fds"), 3);
  EXPECT_GE(told->value("process_max_fds"), told->value("process_open_fds"));
  const auto now = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  EXPECT_LE(told->value("process_start_time_seconds"), now + 1);
  EXPECT_GT(told->value("process_start_time_seconds"), now - 86'400);
}

}  // namespace
}  // namespace tallyfox::server
