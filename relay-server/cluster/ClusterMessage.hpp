#pragma once

#include <cstdint>
#include <expected>
#include <set>
#include <string>
#include <string_view>

#include "base/Json.hpp"

namespace tallyfox::server {

/// What nodes say to each other: one line of JSON, a line break, and a frame word for word.
struct ClusterMessage {
  enum class Kind {
    alive,     ///< to all nodes, every few seconds
    leaving,   ///< to all nodes: this one stops
    presence,  ///< to a room: everything that is at this node
    changed,   ///< to a room: look at what is stored
    frame,     ///< to a room: for the phones
    snapshot,  ///< to a room, and kept
    who,       ///< to one node; answered with its presence
    request,   ///< to one node: for its agent; answered with `delivered` or `refused`
    delivered,
    refused,
  };
  /// Above every envelope: all identifiers at their greatest length, and the devices of as many sockets as phones.
  static constexpr std::size_t greatestEnvelope = 16U * 1024U;

  Kind kind = Kind::alive;
  std::string node{};
  std::string pairing{};
  std::uint64_t number = 0;  ///< of a node's presences, or of a claim's snapshots: a greater one is newer
  std::uint64_t claim = 0;   ///< of the agent at that node; 0 without one
  std::set<std::string, std::less<>> devices{};
  bool asks = false;  ///< a presence that wants to be answered with others'
  std::string frame{};
  bool operator==(const ClusterMessage&) const = default;

  [[nodiscard]] std::string encoded() const;
  [[nodiscard]] static std::expected<ClusterMessage, DecodingError> decoded(std::string_view text);
};

}  // namespace tallyfox::server
