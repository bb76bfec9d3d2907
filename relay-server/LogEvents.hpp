#pragma once

#include "LogEvent.hpp"

/// Everything that the relay logs of its routing. What happens to single requests of strangers is for debugging only,
/// so that they cannot fill a disk.
namespace tallyfox::server::log_event {

using enum LogLevel;

inline constexpr LogEvent pairingRegistered{info, "pairing.registered", "Pairing {pairing} registered."};
inline constexpr LogEvent pairingRenewed{info, "pairing.registered-again", "Pairing {pairing} registered again."};
inline constexpr LogEvent pairingRevoked{info, "pairing.revoked", "Pairing {pairing} revoked by its owner."};

inline constexpr LogEvent agentConnected{info, "agent.connected", "Agent of pairing {pairing} connected."};
inline constexpr LogEvent agentDisconnected{info, "agent.disconnected", "Agent of pairing {pairing} disconnected."};
inline constexpr LogEvent agentFrameMalformed{warning, "agent.malformed",
                                              "Unable to decode a frame of the agent of pairing {pairing}: {reason}"};

inline constexpr LogEvent phoneConnected{info, "phone.connected", "Phone {device} of pairing {pairing} connected."};
inline constexpr LogEvent phoneDisconnected{info, "phone.disconnected",
                                            "Phone {device} of pairing {pairing} disconnected."};
inline constexpr LogEvent phoneRefused{info, "phone.refused",
                                       "Phone {device} of pairing {pairing} refused with {code}."};
inline constexpr LogEvent phoneLeft{info, "phone.left", "Phone {device} left pairing {pairing}."};
inline constexpr LogEvent phoneUnpaired{info, "phone.unpaired",
                                        "Phone {device} of pairing {pairing} unpaired by its owner."};
inline constexpr LogEvent phoneFrameMalformed{
    warning, "phone.malformed", "Unable to decode a frame of phone {device} of pairing {pairing}: {reason}"};
inline constexpr LogEvent phoneTooFast{warning, "phone.too-fast",
                                       "Phone {device} of pairing {pairing} sends too fast."};
inline constexpr LogEvent helloMalformed{info, "hello.malformed", "A phone's hello is malformed: {reason}"};
inline constexpr LogEvent undeliverable{info, "decision.undeliverable",
                                        "A decision of phone {device} found no agent of pairing {pairing}."};

inline constexpr LogEvent uncertain{
    warning, "decision.uncertain", "A decision of phone {device} may not have reached the agent of pairing {pairing}."};

inline constexpr LogEvent clusterLost{error, "cluster.lost", "Cut off from NATS."};
inline constexpr LogEvent clusterBack{info, "cluster.back", "Connected to NATS again."};
inline constexpr LogEvent nodeLost{warning, "node.lost", "Node {node} is lost."};
inline constexpr LogEvent nodeBack{info, "node.back", "Node {node} is back."};
inline constexpr LogEvent nodeMalformed{warning, "node.malformed", "Another node said what is no message: {reason}"};
inline constexpr LogEvent agentSuperseded{info, "agent.superseded",
                                          "A newer agent of pairing {pairing} is at another node."};
inline constexpr LogEvent unmet{error, "cluster.unmet", "Unable to meet the other nodes in pairing {pairing}."};

inline constexpr LogEvent pushBusy{
    warning, "push.busy", "Phone {device} of pairing {pairing} is not asked to look: too many are being asked."};
inline constexpr LogEvent pushFailed{warning, "push.failed",
                                     "Phone {device} of pairing {pairing} cannot be asked to look: {reason}"};
inline constexpr LogEvent pushEnded{info, "push.ended",
                                    "The push subscription of phone {device} of pairing {pairing} has ended."};

inline constexpr LogEvent requestRefused{debug, "request.refused", "A request of {network} got {status}."};
inline constexpr LogEvent connectionFailed{error, "connection.failed", "A connection failed unexpectedly."};
inline constexpr LogEvent acceptFailed{error, "accept.failed", "Unable to accept a connection: {reason}"};

inline constexpr LogEvent storageFailed{error, "storage.failed", "Unable to {task}: {reason}"};
inline constexpr LogEvent storageFailedFor{error, "storage.failed", "Unable to {task} of pairing {pairing}: {reason}"};

inline constexpr LogEvent reloaded{info, "relay.reloaded", "Settings reloaded."};
inline constexpr LogEvent reloadRefused{error, "relay.reload-failed", "Unable to reload, all settings stay: {reason}"};
inline constexpr LogEvent settingChanged{info, "setting.changed", "The setting {setting} has changed."};
inline constexpr LogEvent settingNeedsRestart{warning, "setting.needs-restart",
                                              "The setting {setting} has changed; it needs a restart."};
inline constexpr LogEvent certificateRead{info, "certificate.read", "TLS certificate read again."};
inline constexpr LogEvent certificateWarning{warning, "certificate.warning", "{reason}"};
inline constexpr LogEvent metricsListening{info, "metrics.listening", "Metrics on {address}."};
inline constexpr LogEvent draining{info, "relay.draining", "Tallyfox relay draining {count} sockets."};
inline constexpr LogEvent stopping{info, "relay.stopping", "Tallyfox relay stopping."};

}  // namespace tallyfox::server::log_event
