#include "RelayMetrics.hpp"

#include "MetricsText.hpp"
#include "ProcessMetrics.hpp"

namespace tallyfox::server {
namespace {

/// What this relay answers; docs/relay-protocol.md.
constexpr std::array<unsigned, 18> httpStatuses{101, 200, 204, 304, 400, 401, 403, 404, 405,
                                                410, 413, 414, 426, 429, 431, 500, 501, 503};
constexpr std::array<unsigned, 19> closeCodes{1000, 1001, 1002, 1003, 1005, 1006, 1007, 1008, 1009, 1011,
                                              1012, 1013, 4000, 4008, 4400, 4401, 4410, 4429, 4430};

template <typename Kind, std::size_t size>
void writeKinds(MetricsText& text, std::string_view label, const KindCounter<Kind, size>& counter) {
  for (std::size_t index = 0; index < size; ++index)
    text.sample({{label, counter.names()[index]}}, counter.counts()[index]);
}

void writeFrames(MetricsText& text, std::string_view direction,
                 const KindCounter<FrameType, frameTypeNames.size()>& counter) {
  for (std::size_t index = 0; index < frameTypeNames.size(); ++index)
    text.sample({{"direction", direction}, {"type", frameTypeNames[index]}}, counter.counts()[index]);
}

void writeCloses(MetricsText& text, std::string_view by, const CodeCounter& counter) {
  for (const auto& [code, count] : counter.entries())
    text.sample({{"by", by}, {"code", std::to_string(code)}}, count);
  text.sample({{"by", by}, {"code", "other"}}, counter.others());
}

void writeSockets(MetricsText& text, const RelayMetrics& metrics, const RelayMetrics::Gauges& gauges) {
  text.gauge("tallyfox_relay_sockets", "Open WebSockets that belong to a pairing.");
  writeKinds(text, "peer", metrics.sockets);
  text.counter("tallyfox_relay_sockets_opened_total", "WebSockets that came to belong to a pairing.");
  writeKinds(text, "peer", metrics.socketsOpened);
  text.counter("tallyfox_relay_connections_total", "Accepted connections.");
  text.sample({}, metrics.connections);
  text.gauge("tallyfox_relay_unauthenticated_connections", "Connections that have not yet proved who they are.");
  text.sample({}, std::uint64_t{gauges.unauthenticated});
  text.gauge("tallyfox_relay_pairings_active", "Pairings with a socket or a snapshot in memory.");
  text.sample({}, std::uint64_t{gauges.rooms});
  text.gauge("tallyfox_relay_snapshot_bytes", "All last snapshots together.");
  text.sample({}, std::uint64_t{gauges.snapshotBytes});
}

void writeTraffic(MetricsText& text, const RelayMetrics& metrics) {
  text.counter("tallyfox_relay_frames_total", "Frames from and to agents and phones; one to many counts for each.");
  writeFrames(text, "in", metrics.framesIn);
  writeFrames(text, "out", metrics.framesOut);
  text.counter("tallyfox_relay_frame_bytes_total", "The payload of these frames.");
  writeFrames(text, "in", metrics.frameBytesIn);
  writeFrames(text, "out", metrics.frameBytesOut);
  text.counter("tallyfox_relay_undeliverables_total", "Decisions that found no agent to take them.");
  writeKinds(text, "reason", metrics.undeliverables);
}

void writeEnds(MetricsText& text, const RelayMetrics& metrics) {
  text.counter("tallyfox_relay_http_responses_total", "HTTP answers; 101 is an upgrade.");
  for (const auto& [code, count] : metrics.responses.entries())
    text.sample({{"status", std::to_string(code)}}, count);
  text.sample({{"status", "other"}}, metrics.responses.others());
  text.counter("tallyfox_relay_refusals_total", "Connections and requests beyond a limit.");
  writeKinds(text, "reason", metrics.refusals);
  text.counter("tallyfox_relay_tls_handshakes_total", "Handshakes of the relay's own TLS.");
  writeKinds(text, "outcome", metrics.tlsHandshakes);
  text.counter("tallyfox_relay_pushes_total", "Phones asked to look, by what the push service said at last.");
  writeKinds(text, "outcome", metrics.pushes);
  text.counter("tallyfox_relay_closes_total", "WebSockets closed, by who closed first and the code.");
  writeCloses(text, "relay", metrics.relayCloses);
  writeCloses(text, "peer", metrics.peerCloses);
  text.counter("tallyfox_relay_cuts_total", "WebSockets that ended without a close: lost, silent or cut.");
  text.sample({}, metrics.cuts);
  text.counter("tallyfox_relay_read_pauses_total", "Pauses in reading agents that sent too fast.");
  text.sample({}, metrics.pauses);
  text.counter("tallyfox_relay_slow_consumers_total", "WebSockets closed because too much was waiting for them.");
  text.sample({}, metrics.slowConsumers);
}

}  // namespace

RelayMetrics::RelayMetrics() : responses(httpStatuses), relayCloses(closeCodes), peerCloses(closeCodes) {}

std::string RelayMetrics::text(const Gauges& gauges) const {
  MetricsText text;
  writeSockets(text, *this, gauges);
  writeTraffic(text, *this);
  writeEnds(text, *this);
  text.histogram("tallyfox_relay_handshake_seconds", "From accepting a connection to its open WebSocket.");
  text.sample({}, handshakeSeconds);
  text.histogram("tallyfox_relay_frame_seconds", "From having read a frame to having handed it on.");
  text.sample({{"peer", "agent"}}, agentFrameSeconds);
  text.sample({{"peer", "phone"}}, phoneFrameSeconds);
  text.histogram("tallyfox_relay_storage_seconds", "How long the storage took to answer.");
  text.sample({{"task", "read"}}, storageReadSeconds);
  text.sample({{"task", "write"}}, storageWriteSeconds);
  text.counter("tallyfox_relay_storage_failures_total", "What the storage could not do.");
  text.sample({}, storageFailures);
  text.gauge("tallyfox_relay_build_info", "Always 1; tells the version.");
  text.sample({{"version", TALLYFOX_VERSION}}, std::uint64_t{1});
  writeProcessMetrics(text);
  return text.text();
}

}  // namespace tallyfox::server
